#pragma once

#include "base/Tasks.h"
#include "platform/MicrophoneRecorder.h"
#include "tests/support/Script.h"

#include <QFile>

/// One microphone, whose recorders put so many bytes into a real file, or sound where there are
/// writers for it. Steps: "mic access",
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
        co_return Created(std::make_unique<Recorder>(*this, path, encoding));
    }

    qint64 contentBytes = 4000; ///< of a finished file
    float power = -160.0F;      ///< in decibels, of every recorder

    QString lastPath;
    AudioEncoding lastEncoding;
    bool isMetering = false;
    int liveRecorders = 0;
    std::function<void(const MicrophoneEvent &)> handler; ///< of the last recorder
    AudioFileWriterFactory *writers = nullptr;
    AudioFileWriter *writer = nullptr; ///< of the live recorder, until it stops

private:
    class Recorder : public MicrophoneRecorder
    {
    public:
        Recorder(FakeMicrophones &microphones, QString path, const AudioEncoding &encoding)
            : m_microphones(microphones)
            , m_path(std::move(path))
        {
            ++m_microphones.liveRecorders;
            if (!microphones.writers)
                return;
            m_writer = *microphones.writers->create(m_path);
            m_writer->addInput(encoding);
            m_writer->startWriting();
            m_writer->startSession(MediaTime(0));
            microphones.writer = m_writer.get();
        }
        ~Recorder() override
        {
            --m_microphones.liveRecorders;
            m_microphones.writer = nullptr;
        }

        void setMeteringEnabled(bool enabled) override { m_microphones.isMetering = enabled; }
        void setEventHandler(std::function<void(const MicrophoneEvent &)> handler) override
        {
            m_microphones.handler = std::move(handler);
        }
        QCoro::Task<bool> prepare() override
        {
            if (!m_writer)
                write(1);
            return m_microphones.m_script.reach(QStringLiteral("mic prepare"));
        }
        QCoro::Task<bool> record() override
        {
            return m_microphones.m_script.reach(QStringLiteral("mic record"));
        }
        QCoro::Task<> stop() override
        {
            m_microphones.writer = nullptr;
            co_await m_microphones.m_script.reach(QStringLiteral("mic stop"));
            if (m_writer)
                co_await m_writer->finish();
            else
                write(m_microphones.contentBytes);
        }
        float averagePower(int) const override
        {
            return m_microphones.isMetering ? m_microphones.power : -160.0F;
        }

    private:
        void write(qint64 size)
        {
            QFile file(m_path);
            if (file.open(QIODevice::WriteOnly))
                file.resize(size);
        }

        FakeMicrophones &m_microphones;
        const QString m_path;
        std::unique_ptr<AudioFileWriter> m_writer;
    };

    Script &m_script;
};
