#include "ui/onboarding/StepHeading.h"

#include "ui/parts/MS.h"
#include "ui/parts/TextLabel.h"

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
