#include "ui/preferences/AboutPane.h"

#include "base/Tasks.h"
#include "cloud/PresentableText.h"
#include "cloud/UpdateChecker.h"
#include "platform/Workspace.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/Spinner.h"
#include "ui/parts/SymbolTile.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
using Kind = UpdateChecker::Status::Kind;

constexpr int padding = 30;
constexpr int spinnerRoom = 20;

struct StatusText {
    QString text;
    QColor color;
};

StatusText updateStatusText(const UpdateChecker::Status &status)
{
    switch (status.kind) {
    case Kind::idle:
        return {};
    case Kind::checking:
        return {u"检查中…"_s, MS::muted};
    case Kind::upToDate:
        return {u"已是最新版本"_s, MS::moss};
    case Kind::updateAvailable:
        return {u'v' + presentable(status.text) + u" 可用 — 点击下载"_s, MS::amber};
    case Kind::failed:
        return {u"检查失败："_s + presentable(status.text), MS::ember};
    }
    Q_UNREACHABLE();
}

QString updateLabel(Kind kind)
{
    switch (kind) {
    case Kind::checking:
        return u"检查中…"_s;
    case Kind::updateAvailable:
        return u"前往下载"_s;
    case Kind::idle:
    case Kind::upToDate:
    case Kind::failed:
        return u"检查更新"_s;
    }
    Q_UNREACHABLE();
}

/// The title leaves room for the spinner in front while a check is under way.
ButtonFace updateFace(bool isChecking)
{
    const QMargins sides(isChecking ? 14 + spinnerRoom : 14, 6, 14, 6);
    return raisedFace(12, isChecking ? MS::muted : MS::textDim, sides);
}

ButtonFace webFace()
{
    return {.font = MS::system(12),
            .textColor = MS::amber,
            .fill = MS::amberDim,
            .outline = MS::borderAmber,
            .radius = 6.0,
            .padding = QMargins(14, 6, 14, 6)};
}

TextLabel *makeLine(const QString &text, const QFont &font, const QColor &color)
{
    auto *const line = new TextLabel(text, font, color);
    line->setAlignment(Qt::AlignHCenter);
    return line;
}
} // namespace

AboutPane::AboutPane(UpdateChecker &updater, Workspace &workspace, const BundleInformation &bundle,
                     const ConfiguredOrigin &origin, QWidget *parent)
    : QWidget(parent)
    , m_updater(updater)
    , m_workspace(workspace)
    , m_origin(origin)
    , m_update(new PlainButton(updateFace(false), {}))
    , m_spinner(new Spinner(MS::amber, m_update))
    , m_status(makeLine({}, MS::system(10.5), MS::muted))
{
    m_update->setObjectName(u"update"_s);
    connect(m_update, &QAbstractButton::clicked, this, &AboutPane::checkOrDownload);
    m_status->setObjectName(u"updateStatus"_s);
    m_status->setMaximumLines(3);
    build(bundle);
    connect(&m_updater, &UpdateChecker::changed, this, &AboutPane::refresh);
    refresh();
}

void AboutPane::build(const BundleInformation &bundle)
{
    const auto version = bundle.shortVersion().or_else([&] { return bundle.version(); });
    auto *const number = makeLine(u'v' + version.value_or(u"dev"_s), MS::system(11), MS::faint);
    number->setObjectName(u"version"_s);
    auto *const web = new PlainButton(webFace(), u"打开网页版 →"_s);
    web->setObjectName(u"openWeb"_s);
    connect(web, &QAbstractButton::clicked, this, &AboutPane::openWeb);

    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(0);
    column->addWidget(new SymbolTile(u"waveform"_s, SymbolTile::amberLook(64, 30, 16)), 0,
                      Qt::AlignHCenter);
    column->addSpacing(14);
    column->addWidget(makeLine(u"Parlovance"_s, MS::serif(22), MS::text));
    column->addSpacing(2);
    column->addWidget(number);
    column->addSpacing(20);
    column->addWidget(makeUpdateButton(), 0, Qt::AlignHCenter);
    column->addSpacing(8);
    column->addWidget(m_status);
    column->addSpacing(16);
    column->addWidget(web, 0, Qt::AlignHCenter);
    column->addStretch();
}

QWidget *AboutPane::makeUpdateButton()
{
    auto *const row = new QHBoxLayout(m_update);
    row->setContentsMargins(14, 0, 14, 0);
    row->addWidget(m_spinner);
    row->addStretch();
    return m_update;
}

void AboutPane::refresh()
{
    const UpdateChecker::Status &status = m_updater.status();
    const bool isChecking = status.kind == Kind::checking;
    m_update->setFace(updateFace(isChecking));
    m_update->setTitle(updateLabel(status.kind));
    m_update->setAvailable(!isChecking);
    m_spinner->setVisible(isChecking);
    const auto [text, color] = updateStatusText(status);
    m_status->setText(text);
    m_status->setColor(color);
}

void AboutPane::checkOrDownload()
{
    if (m_updater.status().kind != Kind::updateAvailable)
        runDetached(m_updater.check(false));
    else if (m_origin)
        m_workspace.openAddress(m_origin->downloadPage());
}

void AboutPane::openWeb()
{
    // Silent without a usable origin: the check for updates tells that.
    if (m_origin)
        m_workspace.openAddress(m_origin->text());
}
