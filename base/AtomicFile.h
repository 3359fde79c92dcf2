#pragma once

#include "base/Error.h"

#include <QByteArray>
#include <QString>

#include <expected>
#include <memory>

/// Replaces small files so that a kill, a power cut or a full disk leaves the old bytes or the new
/// ones, never a mixture. Any thread; one writer for each path. Blocks until the disk has the file.
namespace AtomicFile
{
/// The fate of a file that stands at the path.
enum class Old {
    replaced,
    keptAside, ///< whatever it is (a folder, a pipe), it is renamed to the path with ".old" added
};

/// Writes \p content to \p path, readable by this user only. A link there is replaced, not
/// followed. The folder must exist. After a failure everything is as it was before.
std::expected<void, Error> replace(const QString &path, const QByteArray &content,
                                   Old old = Old::replaced);

/// The new content of a path, waiting on the disk under a temporary name. Goes away with the object
/// unless it was put in its place.
class Pending
{
public:
    Pending(QByteArray target, QByteArray name);
    ~Pending();
    Pending(const Pending &) = delete;
    Pending &operator=(const Pending &) = delete;

    /// Renames, and does not wait for the disk to learn the new name; syncFolderOf() does. Once.
    std::expected<void, Error> putInPlace(Old old);

private:
    void putBack(const QByteArray &aside) const;

    QByteArray m_target;
    QByteArray m_name;
    bool m_isWaiting = true;
};

/// The slow first half of replace(), for those who must not block: all but the renaming.
std::expected<std::shared_ptr<Pending>, Error> prepare(const QString &path,
                                                       const QByteArray &content);

/// The slow last part of replace(). Nothing tells of a failure: the new file is in its place either
/// way, and only how soon the disk learns its name is at stake.
void syncFolderOf(const QString &path);

/// Removes the temporary files that interrupted calls for \p path have left beside it.
void removeLeftovers(const QString &path);
} // namespace AtomicFile
