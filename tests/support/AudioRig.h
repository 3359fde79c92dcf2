#pragma once

#include "audio/AudioRecorder.h"
#include "tests/support/FakeAudioAssets.h"
#include "tests/support/FakeAudioFileWriter.h"
#include "tests/support/FakeCapture.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeMicrophones.h"
#include "tests/support/FakeVolume.h"
#include "tests/support/LogCapture.h"

#include <QDir>
#include <QTemporaryDir>
#include <QThreadPool>

/// A machine to record on that does what its script says, and a folder to record into.
struct AudioRig {
    AudioRig() = default;
    ~AudioRig() { QThreadPool::globalInstance()->waitForDone(); } // who may still write into home
    Q_DISABLE_COPY_MOVE(AudioRig)

    AudioPlatform platform()
    {
        return AudioPlatform{.captureService = capture,
                             .microphones = microphones,
                             .writers = writers,
                             .assets = assets,
                             .volume = volume,
                             .clock = clock,
                             .journalPath = journalPath()};
    }

    QString journalPath() const { return configuration.filePath(QStringLiteral("journal")); }
    QString path(const QString &name) const { return home.filePath(name); }
    QUrl url(const QString &name) const { return QUrl::fromLocalFile(path(name)); }
    QStringList files() const { return QDir(home.path()).entryList(QDir::Files | QDir::Hidden); }

    void putFile(const QString &name, qint64 size) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || !file.resize(size))
            qFatal("cannot write into the test's folder");
    }

    Script script;
    FakeCaptureService capture{script};
    FakeMicrophones microphones{script};
    FakeAudioFileWriterFactory writers{script};
    FakeAudioAssets assets{script};
    FakeVolume volume;
    FakeClock clock;
    LogCapture log;
    QTemporaryDir home;
    QTemporaryDir configuration;
};
