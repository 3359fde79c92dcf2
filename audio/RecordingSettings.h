#pragma once

#include "settings/AudioQuality.h"

#include <QSet>
#include <QString>
#include <QUrl>

/// What one recording is made with.
struct RecordingSettings {
    QUrl saveDirectory; ///< the folder that receives the files; made when it is missing
    AudioQuality quality = AudioQuality::high;
    QSet<QString> listedFiles; ///< clean absolute paths; no new file takes their place
    QSet<QString> listedNames; ///< without ending; of recordings that may lie elsewhere by now
};
