#pragma once

#include <QCoroTask>
#include <QUrl>

#include <memory>
#include <stop_token>

class AudioAssets;
class MixAhead;

/// Mixes the two closed track files of a recording into one and removes them.
///
/// Returns the file that stands for the recording: the mix, or \p systemURL after any failure,
/// which is logged, or once \p stop is asked for. \p ahead may be null. Main thread; the work runs
/// elsewhere. \p assets must outlive it.
QCoro::Task<QUrl> mixTracks(AudioAssets &assets, QUrl systemURL, QUrl micURL,
                            std::unique_ptr<MixAhead> ahead, std::stop_token stop = {});
