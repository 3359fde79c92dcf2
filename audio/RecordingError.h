#pragma once

#include "base/Error.h"

#include <QString>

/// Why the capture coordinator itself refused to start.
enum class AudioRecorderError { directoryUnavailable, noSourceEnabled, alreadyRecording };

/// Why the capture of the machine's sound could not start.
enum class SystemAudioError { permissionDenied, noDisplayAvailable, writerSetupFailed };

/// Why the microphone could not be recorded.
enum class MicError { setupFailed, permissionDenied };

/// What the user reads when a recording does not start. \p detail belongs to directoryUnavailable,
/// the output's permissionDenied and setupFailed.
Error recordingError(AudioRecorderError reason, const QString &detail = {});
Error recordingError(SystemAudioError reason, const QString &detail = {});
Error recordingError(MicError reason, const QString &detail = {});
