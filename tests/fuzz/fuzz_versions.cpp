#include "cloud/UpdateChecker.h"
#include "tests/fuzz/Fuzz.h"

/// Three versions in the lines of one input.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(bytes(data, size));
    const QString a = text.section(u'\n', 0, 0);
    const QString b = text.section(u'\n', 1, 1);
    const QString c = text.section(u'\n', 2, 2);

    const bool isAboveB = UpdateChecker::isNewer(a, b);
    require(!UpdateChecker::isNewer(a, a), "nothing is newer than itself");
    require(!isAboveB || !UpdateChecker::isNewer(b, a), "one of two is newer");
    require(!isAboveB || !UpdateChecker::isNewer(b, c) || UpdateChecker::isNewer(a, c),
            "newer than the newer one is newer");
    return 0;
}
