#include "ui/onboarding/OnboardingFooter.h"

#include "ui/parts/BarRow.h"
#include "ui/parts/KeyboardFocus.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
constexpr int steps = 3;
constexpr double radius = 7.0;

ButtonFace primaryFace(bool isDisabled)
{
    ButtonFace face = amberFace(12.5, QMargins(18, 8, 18, 8));
    face.radius = radius;
    if (isDisabled) {
        face.textColor = MS::faint;
        face.fill = MS::hover;
    }
    return face;
}

ButtonFace ghostFace()
{
    ButtonFace face = raisedFace(12.5, MS::textDim, QMargins(14, 8, 14, 8));
    face.radius = radius;
    return face;
}
} // namespace

/// One bar a step, lit up to the present one.
class OnboardingFooter::ProgressBars : public QWidget
{
public:
    ProgressBars() { setFixedHeight(2); }

    void setStep(int step)
    {
        m_step = step;
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        constexpr double gap = 4.0;
        QPainter painter(this);
        for (int i = 0; i < steps; ++i) {
            const BarSpan span = barSpan(i, steps, gap, width(), devicePixelRatioF());
            painter.fillRect(QRectF(span.left, 0, span.width, height()),
                             m_step > i ? MS::amber : MS::hover);
        }
    }

private:
    int m_step = 1;
};

OnboardingFooter::OnboardingFooter(QWidget *parent)
    : QWidget(parent)
    , m_bars(new ProgressBars)
    , m_place(new TextLabel({}, MS::system(11), MS::faint))
    , m_back(new PlainButton(ghostFace(), u"上一步"_s))
    , m_primary(new PlainButton(primaryFace(false), {}))
{
    m_place->setObjectName(u"place"_s);
    m_back->setObjectName(u"back"_s);
    m_primary->setObjectName(u"primary"_s);
    connect(m_back, &QAbstractButton::clicked, this, &OnboardingFooter::backPressed);
    connect(m_primary, &QAbstractButton::clicked, this, &OnboardingFooter::primaryPressed);

    auto *const row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(m_place, 1);
    row->addWidget(m_back);
    row->addWidget(m_primary);
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(16);
    column->addWidget(m_bars);
    column->addLayout(row);
}

void OnboardingFooter::setStep(int step, bool isWaiting)
{
    m_bars->setStep(step);
    m_place->setText(QString::number(step) + u" / 3"_s + (isWaiting ? u" · 等待中"_s : QString()));
    setShown(*m_back, step > 1);
}

void OnboardingFooter::setPrimary(const QString &label, bool isDisabled)
{
    m_primary->setFace(primaryFace(isDisabled));
    m_primary->setTitle(label);
    m_primary->setAvailable(!isDisabled);
}
