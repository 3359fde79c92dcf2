#include "ui/PopoverView.h"

#include "ui/CaptureSection.h"
#include "ui/MS.h"
#include "ui/PopoverFooter.h"
#include "ui/RecentSection.h"
#include "ui/SessionSection.h"
#include "ui/SignInBanner.h"

#include <QPainter>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
constexpr QSize panelSize{360, 680};

/// A line between two sections.
class Divider : public QWidget
{
public:
    explicit Divider(QWidget *parent)
        : QWidget(parent)
    {
        setFixedHeight(1);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), MS::border);
    }
};
} // namespace

PopoverView::PopoverView(AppState &app, AuthClient &auth, Workspace &workspace,
                         const ConfiguredOrigin &origin, QWidget *parent)
    : QWidget(parent)
{
    setFixedWidth(panelSize.width());
    setMaximumHeight(panelSize.height());
    resize(panelSize);
    setAccessibleName(u"Parlovance"_s);
    // Made in the order of Tab.
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new SignInBanner(auth, this));
    auto *const capture = new CaptureSection(app, this);
    column->addWidget(capture);
    column->addWidget(new Divider(this));
    column->addWidget(new SessionSection(app, this));
    column->addWidget(new Divider(this));
    column->addWidget(new RecentSection(app, workspace, this), 1);
    column->addWidget(new PopoverFooter(auth, workspace, origin, this));
    connect(capture, &CaptureSection::minimiseRequested, this, &PopoverView::minimiseRequested);
}

// Otherwise the window gives the keyboard to the first button, which nobody has asked for.
void PopoverView::showEvent(QShowEvent *)
{
    if (!window()->focusWidget())
        setFocus();
}

void PopoverView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), MS::bg2);
}
