#pragma once

#include <QString>

/// \p text without what could disguise it, or what stands around it, when it is shown or logged:
/// control characters, line separators, and marks that change the direction of writing. Any thread.
QString presentable(const QString &text);

/// Whether \p text is short enough to be kept and shown: at most 1 KiB.
inline bool isShort(const QString &text)
{
    return text.toUtf8().size() <= 1024;
}
