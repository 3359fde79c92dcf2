#pragma once

#include <QCoroTask>

/// The desktop's decision about the microphone.
enum class MicrophoneAuthorization { notDetermined, restricted, denied, authorized };

/// Whether the program may record. Main thread.
class CaptureAccess
{
public:
    virtual ~CaptureAccess() = default;

    /// The decision that was made before; asks nobody.
    virtual MicrophoneAuthorization microphoneAuthorization() const = 0;

    /// Asks for the microphone. Whether it is granted.
    virtual QCoro::Task<bool> requestMicrophone() = 0;

    /// Whether everything that the machine plays may be captured, as far as was decided before;
    /// asks nobody.
    virtual bool canCaptureScreen() const = 0;

    /// Asks for that. Whether it is granted.
    virtual QCoro::Task<bool> requestScreenCapture() = 0;

    /// Looks whether what was refused is granted by now. Shows the user nothing.
    virtual QCoro::Task<> reconsider() = 0;
};
