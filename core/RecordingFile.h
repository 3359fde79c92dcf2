#pragma once

#include <QString>
#include <QUrl>

/// What the name of a recording's file tells. Looks at no disk; any thread.
///
/// The name without its extension. A dot in front begins a hidden name, not an extension.
QString recordingBaseName(const QString &fileName);

/// Whether \p fileName has the extension of an audio file, in upper or lower case.
bool hasAudioExtension(const QString &fileName);

/// Under which identifier the service knows the recording \p file; always the same for one name.
QString clientRecordingId(const QUrl &file);

/// The name without extension that clientRecordingId() made \p identifier of.
QString recordingName(const QString &identifier);
