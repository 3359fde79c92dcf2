#include "ui/preferences/RecordingPane.h"

#include "settings/PrefsStore.h"
#include "ui/parts/MS.h"
#include "ui/preferences/PrefRow.h"
#include "ui/preferences/RadioRow.h"
#include "ui/preferences/SaveLocationField.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
struct QualityTexts {
    QString title;
    QString tag;
};

QualityTexts textsOf(AudioQuality quality)
{
    switch (quality) {
    case AudioQuality::standard:
        return {u"标准 · 64 kbps"_s, u"Opus · 体积最小"_s};
    case AudioQuality::high:
        return {u"高 · 128 kbps"_s, u"AAC · 推荐（默认）"_s};
    case AudioQuality::lossless:
        return {u"无损 · 即将推出"_s, u"暂时按高质量 AAC 录制"_s};
    }
    Q_UNREACHABLE();
}

QString titleOf(UploadStrategy strategy)
{
    switch (strategy) {
    case UploadStrategy::manual:
        return u"手动（默认）"_s;
    case UploadStrategy::immediate:
        return u"录完立即上传"_s;
    case UploadStrategy::wifiOnly:
        return u"仅 Wi-Fi 自动上传"_s;
    }
    Q_UNREACHABLE();
}

QVBoxLayout *makeColumn(QWidget *content)
{
    auto *const column = new QVBoxLayout(content);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    return column;
}

QWidget *makeInput()
{
    auto *const content = new QWidget;
    auto *const column = makeColumn(content);
    auto *const input = new TextLabel(u"系统默认麦克风"_s, MS::system(12), MS::text);
    input->setFixedHeight(PrefRow::lineHeight);
    column->addWidget(input);
    column->addWidget(makeNote(u"跟随系统设置；未来支持手动选择。"_s, MS::faint));
    return content;
}
} // namespace

RecordingPane::RecordingPane(PrefsStore &prefs, const FolderChooser &chooser, QWidget *parent)
    : QWidget(parent)
    , m_prefs(prefs)
{
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new PrefRow(u"音频质量"_s, {}, makeQuality()));
    column->addWidget(new PrefRow(u"默认输入"_s, {}, makeInput()));
    column->addWidget(new PrefRow(u"保存位置"_s, {}, new SaveLocationField(prefs, chooser)));
    column->addWidget(new PrefRow(u"上传策略"_s, {}, makeStrategy()));
}

QWidget *RecordingPane::makeQuality()
{
    auto *const content = new QWidget;
    auto *const column = makeColumn(content);
    for (const AudioQuality quality : recordingCases) {
        const auto [title, tag] = textsOf(quality);
        auto *const row = new RadioRow(title, {.text = tag, .color = MS::muted});
        row->setObjectName(u"quality "_s + rawValue(quality));
        column->addWidget(row);
        connectChoice(
            *row, [this, quality] { return m_prefs.audioQuality() == quality; },
            [this, quality] { m_prefs.setAudioQuality(quality); });
    }
    column->addWidget(makeNote(u"当前支持标准/高质量 AAC；无损录制后续版本开放。"_s, MS::faint));
    return content;
}

QWidget *RecordingPane::makeStrategy()
{
    auto *const content = new QWidget;
    auto *const column = makeColumn(content);
    for (const UploadStrategy strategy : activeCases) {
        auto *const row = new RadioRow(titleOf(strategy));
        row->setObjectName(u"upload "_s + rawValue(strategy));
        column->addWidget(row);
        connectChoice(
            *row, [this, strategy] { return m_prefs.uploadStrategy() == strategy; },
            [this, strategy] { m_prefs.setUploadStrategy(strategy); });
    }
    const PillLook remark{.text = u"即将推出"_s, .color = MS::amber, .fill = MS::amberDim};
    auto *const later = new RadioRow(titleOf(UploadStrategy::wifiOnly), remark);
    later->setObjectName(u"upload "_s + rawValue(UploadStrategy::wifiOnly));
    later->disable();
    column->addWidget(later);
    return content;
}

void RecordingPane::connectChoice(RadioRow &row, const std::function<bool()> &isChosen,
                                  const std::function<void()> &choose)
{
    const auto refresh = [&row, isChosen] { row.setChecked(isChosen()); };
    connect(&row, &QAbstractButton::clicked, this, choose);
    connect(&m_prefs, &PrefsStore::changed, &row, refresh);
    refresh();
}
