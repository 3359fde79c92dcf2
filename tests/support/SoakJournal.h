#pragma once

#include <QDateTime>
#include <QFile>

#include <array>
#include <atomic>

/// What a soak has done. Lies in a file that is mapped into memory, so that it outlives a process
/// that is killed.
struct SoakJournal {
    enum Outcome { underWay, kept, dropped, notStarted }; ///< the first: killed, in the end

    struct Recording {
        std::atomic<qint64> start{0}; ///< seconds since the epoch, which name its files
        std::atomic<int> systemSeconds{0}, micSeconds{0}; ///< handed to the writers
        std::atomic<int> countedSeconds{0};
        std::atomic<Outcome> outcome{underWay};
    };

    std::atomic<qint64> wallSeconds{0};    ///< since the epoch; goes on over restarts
    std::atomic<qint64> moves{0};          ///< grows with everything that happens
    std::atomic<bool> isConcluding{false}; ///< between a recording's last sound and its entry
    std::atomic<int> signInCount{0}, uploadCount{0};
    std::atomic<int> troubleCount{0};              ///< of devices, permissions, and disk
    std::array<std::atomic<int>, 2> descriptors{}; ///< before and after
    std::array<std::atomic<qint64>, 2> residentBytes{};
    std::atomic<int> recordingCount{0};
    std::array<Recording, 4000> recordings{};
    std::array<char[40], 256> tokens{}; ///< of the service, for one sign-in after the other

    /// The journal in \p file, as long as that is open.
    static SoakJournal &in(QFile &file)
    {
        if (!file.open(QIODevice::ReadWrite) || !file.resize(sizeof(SoakJournal)))
            qFatal("no journal");
        return *reinterpret_cast<SoakJournal *>(file.map(0, sizeof(SoakJournal)));
    }
};
