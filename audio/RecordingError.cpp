#include "audio/RecordingError.h"

using namespace Qt::StringLiterals;

Error recordingError(AudioRecorderError reason, const QString &detail)
{
    switch (reason) {
    case AudioRecorderError::directoryUnavailable:
        return Error(u"录音保存位置不可用："_s + detail);
    case AudioRecorderError::noSourceEnabled:
        return Error(u"至少开启一个音源（系统声音或麦克风）"_s);
    case AudioRecorderError::alreadyRecording:
        return Error(u"已在录音中"_s);
    }
    Q_UNREACHABLE();
}

Error recordingError(SystemAudioError reason, const QString &detail)
{
    switch (reason) {
    case SystemAudioError::permissionDenied:
        return Error(u"屏幕录制权限未授予："_s + detail);
    case SystemAudioError::noDisplayAvailable:
        return Error(u"没有可用的显示器"_s);
    case SystemAudioError::writerSetupFailed:
        return Error(u"系统音频文件创建失败"_s);
    }
    Q_UNREACHABLE();
}

Error recordingError(MicError reason, const QString &detail)
{
    switch (reason) {
    case MicError::setupFailed:
        return Error(u"麦克风初始化失败："_s + detail);
    case MicError::permissionDenied:
        return Error(u"麦克风权限未授予"_s);
    }
    Q_UNREACHABLE();
}
