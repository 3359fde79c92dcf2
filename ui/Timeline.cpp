#include "ui/Timeline.h"

#include <QEvent>
#include <QWidget>

namespace
{

double systemSeconds()
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(sinceEpoch).count();
}

double (*currentClock)() = systemSeconds;

} // namespace

Timeline::Timeline(QWidget &part)
    : QObject(&part)
    , m_part(part)
    , m_timer(this)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_part.update();
        waitForTick();
    });
    m_part.installEventFilter(this);
}

void Timeline::setInterval(std::chrono::microseconds interval)
{
    if (m_interval == interval)
        return;
    m_interval = interval;
    run();
}

std::chrono::microseconds Timeline::interval() const
{
    return m_timer.isActive() ? m_interval : std::chrono::microseconds(0);
}

double Timeline::seconds()
{
    return currentClock();
}

void Timeline::setClock(double (*clock)())
{
    currentClock = clock ? clock : systemSeconds;
}

bool Timeline::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show || event->type() == QEvent::Hide)
        run();
    return QObject::eventFilter(watched, event);
}

void Timeline::run()
{
    if (m_part.isVisible() && m_interval.count() > 0)
        waitForTick();
    else
        m_timer.stop();
}

void Timeline::waitForTick()
{
    // The timer counts whole milliseconds: rounded up, it never fires before the tick.
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto left = m_interval - now % m_interval;
    m_timer.start(std::chrono::ceil<std::chrono::milliseconds>(left));
}
