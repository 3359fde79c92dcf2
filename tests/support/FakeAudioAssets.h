#pragma once

#include "platform/AudioAssets.h"
#include "tests/support/Script.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>

/// Reads nothing from files; an export puts 3000 bytes into its output. Steps, with "system", "mic"
/// or "mix" for the file where a name stands: "tracks NAME", "duration NAME", "ahead",
/// "ahead finish", "ahead dropped", "export make", "export run", "finish NAME",
/// "leftovers". A failing step's text is "assets trouble".
class FakeAudioAssets : public AudioAssets
{
public:
    explicit FakeAudioAssets(Script &script)
        : m_script(script)
    {
    }

    QCoro::Task<std::expected<int, Error>> audioTrackCount(QString path) override
    {
        return answer(QStringLiteral("tracks ") + track(path), trackCount.value(track(path), 1));
    }

    QCoro::Task<std::expected<double, Error>> durationSeconds(QString path) override
    {
        return answer(QStringLiteral("duration ") + track(path), duration.value(track(path), 60.0));
    }

    std::unique_ptr<MixAhead> mixAhead(const QString &first, const QString &second,
                                       const QString &outputPath) override
    {
        aheadFiles = {name(first), name(second), name(outputPath)};
        if (!m_script.note(QStringLiteral("ahead")))
            return nullptr;
        return std::make_unique<Ahead>(m_script, outputPath);
    }

    std::unique_ptr<ExportSession> makeExport(const MixComposition &composition,
                                              const QString &outputPath) override
    {
        lastComposition = composition;
        if (!m_script.note(QStringLiteral("export make")))
            return nullptr;
        return std::make_unique<Export>(*this, outputPath);
    }

    QCoro::Task<std::expected<void, Error>> finishTrack(QString path, std::stop_token) override
    {
        using Finished = std::expected<void, Error>;
        const bool succeeds = co_await m_script.reach(QStringLiteral("finish ") + track(path));
        if (!succeeds)
            co_return Finished(std::unexpected(Error(QStringLiteral("assets trouble"))));
        co_return Finished();
    }

    QCoro::Task<QStringList> abandonedTracks(QString, QStringList) override
    {
        co_await m_script.reach(QStringLiteral("abandoned"));
        const QStringList found = abandoned;
        co_return found;
    }

    QCoro::Task<QStringList> filesChangedSince(QString, QStringList, QDateTime time) override
    {
        QStringList found = changed;
        found.removeIf(
            [&time](const QString &path) { return QFileInfo(path).lastModified() <= time; });
        co_return found;
    }

    void removeLeftovers(const QString &folder) override
    {
        leftoversFolder = folder;
        m_script.note(QStringLiteral("leftovers"));
    }

    /// Whether the export that was run last has been asked to stop.
    bool exportIsCancelled() const { return m_exportStop.stop_requested(); }

    QHash<QString, int> trackCount;
    QHash<QString, double> duration;
    std::optional<Error> exportError = Error(QStringLiteral("assets trouble"));
    MixComposition lastComposition;
    QStringList abandoned;  ///< paths
    QStringList changed;    ///< paths of finished files, of which the new ones are found
    QStringList aheadFiles; ///< names of the two tracks and of the output
    QString leftoversFolder;

private:
    class Ahead : public MixAhead
    {
    public:
        Ahead(Script &script, QString path)
            : m_script(script)
            , m_path(std::move(path))
        {
        }
        ~Ahead() override { m_script.note(QStringLiteral("ahead dropped")); }

        QCoro::Task<std::expected<void, Error>> finish(MixComposition) override
        {
            using Finished = std::expected<void, Error>;
            const bool succeeds = co_await m_script.reach(QStringLiteral("ahead finish"));
            if (!succeeds)
                co_return Finished(std::unexpected(Error(QStringLiteral("assets trouble"))));
            QFile file(m_path);
            if (file.open(QIODevice::WriteOnly))
                file.resize(3000);
            co_return Finished();
        }

    private:
        Script &m_script;
        const QString m_path;
    };

    class Export : public ExportSession
    {
    public:
        Export(FakeAudioAssets &assets, QString path)
            : m_assets(assets)
            , m_path(std::move(path))
        {
        }

        QCoro::Task<ExportOutcome> run(std::stop_token stop) override
        {
            m_assets.m_exportStop = stop;
            ExportOutcome outcome;
            outcome.completed = co_await m_assets.m_script.reach(QStringLiteral("export run"));
            outcome.completed = outcome.completed && !stop.stop_requested();
            QFile file(m_path);
            // As with a real encoder, the name appears only when the file is complete.
            if (outcome.completed && file.open(QIODevice::WriteOnly))
                file.resize(3000);
            if (!outcome.completed)
                outcome.error = m_assets.exportError;
            co_return outcome;
        }

    private:
        FakeAudioAssets &m_assets;
        const QString m_path;
    };

    static QString name(const QString &path) { return QFileInfo(path).fileName(); }
    static QString track(const QString &path)
    {
        for (const QString &ending : {QStringLiteral("mic"), QStringLiteral("system")}) {
            if (path.endsWith(ending + QStringLiteral(".m4a")))
                return ending;
        }
        return QStringLiteral("mix");
    }

    template<class Value>
    QCoro::Task<std::expected<Value, Error>> answer(QString step, Value value)
    {
        using Answer = std::expected<Value, Error>;
        const bool succeeds = co_await m_script.reach(step);
        if (!succeeds)
            co_return Answer(std::unexpected(Error(QStringLiteral("assets trouble"))));
        co_return Answer(value);
    }

    Script &m_script;
    std::stop_token m_exportStop;
};
