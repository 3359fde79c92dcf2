#pragma once

#include "base/Tasks.h"
#include "platform/MicrophoneRecorder.h"
#include "tests/support/Script.h"

#include <QFile>

/// One microphone, whose recorders put so many bytes into a real file. Steps: "mic access",
/// "mic create", "mic prepare", "mic record", "mic stop".
class FakeMicrophones : public Microphones
{
public:
    explicit FakeMicrophones(Script &script)
        : m_script(script)
    {
    }

    QCoro::Task<bool> requestAccess() override
    {
        return m_script.reach(QStringLiteral("mic access"));
    }

    QCoro::Task<std::expected<std::unique_ptr<MicrophoneRecorder>, Error>>
    create(QString path, AudioEncoding encoding) override
    {
        using Created = std::expected<std::unique_ptr<MicrophoneRecorder>, Error>;
        lastPath = path;
        lastEncoding = encoding;
        const bool succeeds = co_await m_script.reach(QStringLiteral("mic create"));
        if (!succeeds)
            co_return Created(std::unexpected(Error(QStringLiteral("mic trouble"))));
        co_return Created(std::make_unique<Recorder>(*this, path));
    }

    qint64 contentBytes = 4000; ///< of a finished file
    float power = -160.0F;      ///< in decibels, of every recorder

    QString lastPath;
    AudioEncoding lastEncoding;
    bool isMetering = false;
    int liveRecorders = 0;
    std::function<void(const MicrophoneEvent &)> handler; ///< of the last recorder

private:
    class Recorder : public MicrophoneRecorder
    {
    public:
        Recorder(FakeMicrophones &microphones, QString path)
            : m_microphones(microphones)
            , m_path(std::move(path))
        {
            ++m_microphones.liveRecorders;
        }
        ~Recorder() override { --m_microphones.liveRecorders; }

        void setMeteringEnabled(bool enabled) override { m_microphones.isMetering = enabled; }
        void setEventHandler(std::function<void(const MicrophoneEvent &)> handler) override
        {
            m_microphones.handler = std::move(handler);
        }
        QCoro::Task<bool> prepare() override
        {
            write(1);
            return m_microphones.m_script.reach(QStringLiteral("mic prepare"));
        }
        QCoro::Task<bool> record() override
        {
            return m_microphones.m_script.reach(QStringLiteral("mic record"));
        }
        QCoro::Task<> stop() override
        {
            co_await m_microphones.m_script.reach(QStringLiteral("mic stop"));
            write(m_microphones.contentBytes);
        }
        float averagePower(int) const override { return m_microphones.power; }

    private:
        void write(qint64 size)
        {
            QFile file(m_path);
            if (file.open(QIODevice::WriteOnly))
                file.resize(size);
        }

        FakeMicrophones &m_microphones;
        const QString m_path;
    };

    Script &m_script;
};
