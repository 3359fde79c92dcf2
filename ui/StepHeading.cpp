#include "ui/StepHeading.h"

#include "ui/MS.h"
#include "ui/SectionLabel.h"
#include "ui/TextLabel.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

TextLabel *addStepHeading(QVBoxLayout &column, const QString &heading, const QString &title)
{
    auto *const shown = new TextLabel(title, MS::serif(22), MS::text);
    shown->setObjectName(u"stepTitle"_s);
    column.addWidget(new SectionLabel(heading, MS::faint));
    column.addSpacing(8);
    column.addWidget(shown);
    return shown;
}
