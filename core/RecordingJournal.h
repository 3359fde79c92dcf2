#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

#include <memory>

/// Where recordings may lie that are in no list on the disk. An entry is made before a recording
/// starts and stays until the list has it: a launch after a kill looks there, and nowhere else for
/// what was finished. Main thread; the disk is waited for elsewhere.
class RecordingJournal
{
public:
    struct Entry {
        QString folder;
        QDateTime since; ///< UTC; nothing in the folder that is unlisted was changed before

        bool operator==(const Entry &) const = default;
    };

    /// \p path: its file, in a folder of the user's own; made when it is missing. Empty: nothing is
    /// remembered.
    explicit RecordingJournal(const QString &path);
    ~RecordingJournal();

    /// The entries that earlier runs left, one a folder.
    const QList<Entry> &left() const { return m_left; }

    /// Every recording in \p folder that an earlier run left is in the list on the disk.
    void forget(const QString &folder);

    /// A recording begins.
    void begin(const QString &folder, const QDateTime &now);

    /// Every recording of this run is in the list on the disk, or discarded.
    void end();

private:
    class File;

    void store();

    std::shared_ptr<File> m_file;
    QList<Entry> m_left;
    QList<Entry> m_own;
};
