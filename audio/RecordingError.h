#pragma once

#include "base/Error.h"

#include <QString>

#include <utility>
#include <variant>

/// Why the capture coordinator itself refused to start.
class AudioRecorderError
{
public:
    enum class Case { directoryUnavailable, noSourceEnabled, alreadyRecording };

    /// \p detail belongs to directoryUnavailable.
    explicit AudioRecorderError(Case kind, QString detail = {})
        : m_kind(kind)
        , m_detail(std::move(detail))
    {
    }

    Case kind() const { return m_kind; }
    QString description() const;

    bool operator==(const AudioRecorderError &) const = default;

private:
    Case m_kind;
    QString m_detail;
};

/// Why the capture of the machine's sound could not start.
class SystemAudioError
{
public:
    enum class Case { permissionDenied, noDisplayAvailable, writerSetupFailed };

    /// \p detail belongs to permissionDenied.
    explicit SystemAudioError(Case kind, QString detail = {})
        : m_kind(kind)
        , m_detail(std::move(detail))
    {
    }

    Case kind() const { return m_kind; }
    QString description() const;

    bool operator==(const SystemAudioError &) const = default;

private:
    Case m_kind;
    QString m_detail;
};

/// Why the microphone could not be recorded.
class MicError
{
public:
    enum class Case { setupFailed, permissionDenied };

    /// \p detail belongs to setupFailed.
    explicit MicError(Case kind, QString detail = {})
        : m_kind(kind)
        , m_detail(std::move(detail))
    {
    }

    Case kind() const { return m_kind; }
    QString description() const;

    bool operator==(const MicError &) const = default;

private:
    Case m_kind;
    QString m_detail;
};

/// Why a recording did not start: the coordinator's reason, or that of a source passed through,
/// or that of the platform below it.
class RecordingError
{
public:
    using Cause = std::variant<AudioRecorderError, SystemAudioError, MicError, Error>;

    // Implicit, so that each layer returns its own error.
    RecordingError(AudioRecorderError reason)
        : m_cause(std::move(reason))
    {
    }
    RecordingError(SystemAudioError reason)
        : m_cause(std::move(reason))
    {
    }
    RecordingError(MicError reason)
        : m_cause(std::move(reason))
    {
    }
    RecordingError(Error reason)
        : m_cause(std::move(reason))
    {
    }

    const Cause &cause() const { return m_cause; }

    /// The sentence that the user reads.
    QString description() const
    {
        return std::visit([](const auto &reason) -> QString { return reason.description(); },
                          m_cause);
    }

    bool operator==(const RecordingError &) const = default;

private:
    Cause m_cause;
};
