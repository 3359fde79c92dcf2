#include "audio/RecordingError.h"

using namespace Qt::StringLiterals;

QString AudioRecorderError::description() const
{
    switch (m_kind) {
    case Case::directoryUnavailable:
        return u"录音保存位置不可用："_s + m_detail;
    case Case::noSourceEnabled:
        return u"至少开启一个音源（系统声音或麦克风）"_s;
    case Case::alreadyRecording:
        return u"已在录音中"_s;
    }
    Q_UNREACHABLE();
}

QString SystemAudioError::description() const
{
    switch (m_kind) {
    case Case::permissionDenied:
        return u"屏幕录制权限未授予："_s + m_detail;
    case Case::noDisplayAvailable:
        return u"没有可用的显示器"_s;
    case Case::writerSetupFailed:
        return u"系统音频文件创建失败"_s;
    }
    Q_UNREACHABLE();
}

QString MicError::description() const
{
    switch (m_kind) {
    case Case::setupFailed:
        return u"麦克风初始化失败："_s + m_detail;
    case Case::permissionDenied:
        return u"麦克风权限未授予"_s;
    }
    Q_UNREACHABLE();
}
