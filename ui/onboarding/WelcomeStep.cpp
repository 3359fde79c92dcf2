#include "ui/onboarding/WelcomeStep.h"

#include "ui/parts/MS.h"
#include "ui/parts/SymbolTile.h"
#include "ui/parts/TextLabel.h"

#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
constexpr int taglineWidth = 330; // breaks it between two words

/// Two lines with one word in another colour.
QLabel *makeHeadline()
{
    const auto before = u"记录每一次"_s;
    const auto word = u"对话"_s;
    const auto first = u"，"_s;
    const auto second = u"专注于思考。"_s;
    auto *const headline = new QLabel;
    headline->setObjectName(u"headline"_s);
    headline->setTextFormat(Qt::RichText);
    headline->setText(u"%1<span style='color:%2'>%3</span>%4<br>%5"_s.arg(before, MS::amber.name(),
                                                                          word, first, second));
    headline->setAccessibleName(before + word + first + u'\n' + second);
    headline->setFont(MS::italicSerif(32));
    QPalette colors = headline->palette();
    colors.setColor(QPalette::WindowText, MS::text);
    headline->setPalette(colors);
    return headline;
}
} // namespace

WelcomeStep::WelcomeStep(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"welcomeStep"_s);
    auto *const tagline =
        new TextLabel(u"Parlovance 在后台录音，AI 自动整理成可搜索的纪要、决策和行动项。"_s,
                      MS::system(13), MS::muted);
    tagline->setMaximumLines(2);
    tagline->setMaximumWidth(taglineWidth);

    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addStretch(2);
    column->addWidget(new SymbolTile(u"waveform"_s, SymbolTile::amberLook(44, 22, 12)));
    column->addSpacing(20);
    column->addWidget(makeHeadline());
    column->addSpacing(14);
    column->addWidget(tagline);
    column->addStretch(3);
}
