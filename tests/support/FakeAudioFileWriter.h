#pragma once

#include "platform/AudioFileWriter.h"
#include "tests/support/Script.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QFile>
#include <QThread>

#include <memory>

/// Makes writers that put so many bytes into a real file, and remember what they were given. Steps:
/// "writer create", "writer input", "writer start", "writer finish", "writer cancel".
class FakeAudioFileWriterFactory : public AudioFileWriterFactory
{
public:
    explicit FakeAudioFileWriterFactory(Script &script)
        : m_script(script)
    {
    }

    std::expected<std::unique_ptr<AudioFileWriter>, Error> create(const QString &path) override
    {
        lastPath = path;
        if (!m_script.note(QStringLiteral("writer create")))
            return std::unexpected(Error(QStringLiteral("writer trouble")));
        return std::make_unique<Writer>(*this, path);
    }

    qint64 contentBytes = 5000; ///< of a finished file
    bool isReady = true;
    std::optional<Error> failure;

    QString lastPath;
    AudioEncoding lastEncoding;
    std::optional<MediaTime> sessionStart;
    QList<MediaTime> appended;

private:
    class Writer : public AudioFileWriter
    {
    public:
        Writer(FakeAudioFileWriterFactory &factory, QString path)
            : m_factory(factory)
            , m_path(std::move(path))
        {
        }

        bool addInput(const AudioEncoding &encoding) override
        {
            m_factory.lastEncoding = encoding;
            return m_factory.m_script.note(QStringLiteral("writer input"));
        }
        bool startWriting() override
        {
            if (QThread::currentThread() == QCoreApplication::instance()->thread())
                qFatal("a disk may keep the main thread waiting");
            // A disk may fill up after the file was made.
            return write(1) && m_factory.m_script.note(QStringLiteral("writer start"));
        }
        void startSession(MediaTime time) override { m_factory.sessionStart = time; }
        bool isReady() const override { return m_factory.isReady; }
        bool append(const AudioBuffer &buffer) override
        {
            m_factory.appended.append(buffer.presentationTime);
            return true;
        }
        std::optional<Error> failure() const override { return m_factory.failure; }
        QCoro::Task<> finish() override
        {
            co_await m_factory.m_script.reach(QStringLiteral("writer finish"));
            write(m_factory.contentBytes);
        }
        void cancel() override { m_factory.m_script.note(QStringLiteral("writer cancel")); }

    private:
        bool write(qint64 size)
        {
            QFile file(m_path);
            return file.open(QIODevice::WriteOnly) && file.resize(size);
        }

        FakeAudioFileWriterFactory &m_factory;
        const QString m_path;
    };

    Script &m_script;
};
