#include "ui/panel/PopoverView.h"

#include "ui/panel/CaptureSection.h"
#include "ui/panel/PopoverFooter.h"
#include "ui/panel/RecentSection.h"
#include "ui/panel/RecordButton.h"
#include "ui/panel/SessionSection.h"
#include "ui/panel/SignInBanner.h"
#include "ui/parts/MS.h"
#include "ui/parts/StyledScrollView.h"

#include <QLineEdit>
#include <QPainter>
#include <QShowEvent>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
constexpr QSize panelSize{360, 680};

// The desktop draws no frame around the panel: it has to stand out from a dark window behind it.
const QColor edgeColor{84, 66, 54};

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
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    auto *const view = new StyledScrollView(this);
    view->setObjectName(u"sections"_s);
    view->setWidget(makeSections(app, auth, workspace));
    column->addWidget(view, 1);
    column->addWidget(new PopoverFooter(auth, workspace, origin, this));
    // The first Tab reaches the record button. Only widgets that Tab reaches can be put in order.
    setFocusPolicy(Qt::TabFocus);
    setTabOrder(this, findChild<RecordButton *>());
    setFocusPolicy(Qt::NoFocus);
}

QWidget *PopoverView::makeSections(AppState &app, AuthClient &auth, Workspace &workspace)
{
    // Made in the order of Tab.
    auto *const sections = new QWidget;
    auto *const column = new QVBoxLayout(sections);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new SignInBanner(auth, sections));
    auto *const capture = new CaptureSection(app, sections);
    column->addWidget(capture);
    column->addWidget(new Divider(sections));
    column->addWidget(new SessionSection(app, sections));
    column->addWidget(new Divider(sections));
    column->addWidget(new RecentSection(app, workspace, sections), 1);
    connect(capture, &CaptureSection::minimiseRequested, this, &PopoverView::minimiseRequested);
    return sections;
}

// Otherwise the keyboard would be at the first button, or at the one used before the panel was
// closed, which nobody has asked for. A title that is being written goes on.
void PopoverView::showEvent(QShowEvent *event)
{
    if (!event->spontaneous() && !qobject_cast<QLineEdit *>(window()->focusWidget()))
        setFocus();
}

void PopoverView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), edgeColor);
    painter.fillRect(rect().adjusted(1, 1, -1, -1), MS::bg2);
}
