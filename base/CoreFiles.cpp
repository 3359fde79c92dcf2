#include "base/CoreFiles.h"

#include <QProcess>

#include <sys/resource.h>

#include <optional>

namespace
{
std::optional<rlimit> limitBefore;
} // namespace

void CoreFiles::refuse()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_CORE, &limit) != 0)
        return;
    limitBefore = limit;
    limit.rlim_cur = limit.rlim_max == 0 ? 0 : 1;
    setrlimit(RLIMIT_CORE, &limit);
}

void CoreFiles::allowAsBefore(QProcess &process)
{
    if (limitBefore)
        process.setChildProcessModifier([limit = *limitBefore] { setrlimit(RLIMIT_CORE, &limit); });
}
