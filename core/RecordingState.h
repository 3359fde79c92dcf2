#pragma once

/// The activity of the recorder. Toggling is ignored while it starts or stops.
enum class RecordingState { idle, recording, starting, stopping };
