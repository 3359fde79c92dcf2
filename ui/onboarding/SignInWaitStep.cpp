#include "ui/onboarding/SignInWaitStep.h"

#include "cloud/AuthClient.h"
#include "ui/onboarding/StepHeading.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/RoundedBox.h"
#include "ui/parts/Spinner.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
/// What was opened; without a usable origin nothing was, and why.
QString explanation(const ConfiguredOrigin &origin)
{
    if (!origin)
        return origin.error().description();
    return u"已为你打开 "_s + origin->text() + u"/desktop-auth，登录成功后会自动返回。"_s;
}

QWidget *makeWaitBox()
{
    auto *const box = new RoundedBox(MS::bg, MS::border, 10);
    auto *const texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(new TextLabel(u"等待浏览器回跳…"_s, MS::serif(13), MS::text));
    texts->addWidget(
        new TextLabel(u"parlovance://auth?token=…"_s, MS::monospaced(10.5), MS::faint));
    auto *const row = new QHBoxLayout(box);
    row->setContentsMargins(16, 14, 16, 14);
    row->setSpacing(14);
    row->addWidget(new Spinner(MS::amber));
    row->addLayout(texts, 1);
    row->addWidget(new TextLabel(u"~30s"_s, MS::system(11), MS::faint));
    return box;
}
} // namespace

SignInWaitStep::SignInWaitStep(const AuthClient &auth, const ConfiguredOrigin &origin,
                               QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"signInWaitStep"_s);
    auto *const line = new TextLabel({}, MS::system(12), MS::muted);
    line->setObjectName(u"explanation"_s);
    line->setMaximumLines(3);
    const auto explain = [line, &auth, text = explanation(origin)] {
        line->setText(auth.signInProblem().value_or(text));
        line->setColor(auth.signInProblem() ? MS::ember : MS::muted);
    };
    connect(&auth, &AuthClient::changed, this, explain);
    explain();
    const ButtonFace cancelFace{.font = MS::system(11),
                                .textColor = MS::muted,
                                .radius = 5.0,
                                .padding = QMargins(8, 4, 8, 4)};
    auto *const cancel = new PlainButton(cancelFace, u"取消"_s);
    cancel->setObjectName(u"cancel"_s);
    connect(cancel, &QAbstractButton::clicked, this, &SignInWaitStep::cancelled);

    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    addStepHeading(*column, u"STEP 3 · SIGN IN"_s, u"在浏览器中完成登录"_s);
    column->addSpacing(6);
    column->addWidget(line);
    column->addSpacing(20);
    column->addWidget(makeWaitBox());
    column->addSpacing(10);
    column->addWidget(cancel, 0, Qt::AlignHCenter);
    column->addStretch();
}
