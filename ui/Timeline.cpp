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
    connect(&m_timer, &QTimer::timeout, &m_part, qOverload<>(&QWidget::update));
    m_part.installEventFilter(this);
}

void Timeline::setInterval(std::chrono::milliseconds interval)
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
        m_timer.start(m_interval);
    else
        m_timer.stop();
}
