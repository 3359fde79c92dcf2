#include <cstdlib>

namespace
{
/// Gives a test that is run by hand the surroundings that it has under CTest, before anything reads
/// them.
const bool isPrepared = [] {
    ::setenv("TZ", "Asia/Shanghai", 0);
    ::setenv("LC_ALL", "C.UTF-8", 0);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    return true;
}();
} // namespace
