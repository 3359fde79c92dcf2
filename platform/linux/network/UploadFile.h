#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"

#include <QString>

#include <cstdint>
#include <expected>
#include <span>

/// A file on its way to the other side: exactly as many bytes as it had when it was opened.
class UploadFile
{
public:
    /// Fails for what cannot be opened and for what is no regular file (a pipe would block, a link
    /// would lend its name to another file).
    static std::expected<UploadFile, Error> open(const QString &path);

    int64_t sizeBytes() const { return m_size; }

    /// The next bytes, at most as many as \p target holds; none at the end. Fails when the file
    /// cannot be read or has become shorter.
    std::expected<size_t, Error> read(std::span<char> target);

    /// Takes the last \p count bytes back, to be read once more.
    void unread(size_t count) { m_position -= static_cast<int64_t>(count); }

private:
    UploadFile(FileDescriptor descriptor, int64_t size)
        : m_descriptor(std::move(descriptor))
        , m_size(size)
    {
    }

    FileDescriptor m_descriptor;
    int64_t m_size;
    int64_t m_position = 0;
};
