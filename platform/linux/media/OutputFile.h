#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"

#include <QString>

#include <cstddef>
#include <expected>
#include <span>

/// What the user reads when a recording cannot be written; \p errorNumber is errno's.
Error writeError(int errorNumber);

/// A private file, written and read at positions of the caller's choice. Every operation is
/// complete, or an error; nothing is buffered. Used by one thread at a time.
class OutputFile
{
public:
    /// Creates the file, readable by its owner only; one that stands there is removed first. It is
    /// locked (flock) until unlock() or for as long as it is open, which tells it from one that was
    /// left behind.
    static std::expected<OutputFile, Error> create(const QString &path);

    /// Opens an existing file, for reading only.
    static std::expected<OutputFile, Error> open(const QString &path);

    std::expected<void, Error> write(qint64 offset, std::span<const std::byte> bytes);

    /// How many bytes there were, fewer than asked for at the end of the file.
    std::expected<std::size_t, Error> read(qint64 offset, std::span<std::byte> bytes) const;

    std::expected<qint64, Error> size() const;
    std::expected<void, Error> truncate(qint64 size);

    /// Makes \p length bytes of room at \p offset: what is there moves back.
    std::expected<void, Error> insert(qint64 offset, qint64 length);

    /// Writes the first \p length bytes of \p other here.
    std::expected<void, Error> copyFrom(const OutputFile &other, qint64 length);

    /// False once the file was removed or moved, or its volume taken away: what is written still
    /// arrives, but is lost to whoever looks for it at \p path.
    bool isAt(const QString &path) const;

    /// Nothing more will be written, and others may read: on a Windows share they cannot while the
    /// file is locked, and neither can this process through another descriptor.
    void unlock();

    /// Puts the content on the disk. sync() also waits for what only the name needs.
    std::expected<void, Error> syncData();
    std::expected<void, Error> sync();

private:
    explicit OutputFile(FileDescriptor descriptor)
        : m_descriptor(std::move(descriptor))
    {
    }

    std::expected<void, Error> copyBlock(const OutputFile &from, qint64 position,
                                         std::span<std::byte> block, qint64 to);
    std::expected<void, Error> moveBack(qint64 offset, qint64 length, qint64 end);

    FileDescriptor m_descriptor;
};

/// Puts the names in \p folder on the disk.
std::expected<void, Error> syncFolder(const QString &folder);
