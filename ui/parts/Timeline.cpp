#include "ui/parts/Timeline.h"

#include <QEvent>
#include <QWidget>

#include <utility>

namespace
{

double systemSeconds()
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(sinceEpoch).count();
}

double (*currentClock)() = systemSeconds;

} // namespace

Timeline::Timeline(QWidget &part, std::function<void()> tick)
    : QObject(&part)
    , m_part(part)
    , m_tick(tick ? std::move(tick) : [&part] { part.update(); })
    , m_timer(this)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_tick();
        run();
    });
    m_part.installEventFilter(this);
}

void Timeline::setInterval(Frames interval)
{
    if (m_interval == interval)
        return;
    m_interval = interval;
    run();
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
    const auto frame = std::chrono::floor<Frames>(now);
    const auto next = frame - frame % m_interval + m_interval;
    m_timer.start(std::chrono::ceil<std::chrono::milliseconds>(next - now));
}
