#include "app/UnixSignals.h"

#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace
{

constexpr std::array leaving{SIGHUP, SIGINT, SIGTERM};

volatile sig_atomic_t eventDescriptor = -1;

// All that a signal handler may do here: tell the event loop.
void wake(int)
{
    const int before = errno;
    const quint64 one = 1;
    [[maybe_unused]] const auto written = ::write(eventDescriptor, &one, sizeof one);
    errno = before;
}

void handleWith(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int number : leaving)
        sigaction(number, &action, nullptr);
}

} // namespace

UnixSignals::UnixSignals(QObject *parent)
    : QObject(parent)
    , m_event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , m_notifier(m_event.get(), QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &UnixSignals::drain);
    eventDescriptor = m_event.get();
    handleWith(wake);
}

UnixSignals::~UnixSignals()
{
    handleWith(SIG_DFL);
    eventDescriptor = -1;
}

void UnixSignals::drain()
{
    quint64 count = 0;
    if (::read(m_event.get(), &count, sizeof count) == sizeof count)
        Q_EMIT leaveRequested();
}
