#pragma once

/// What the recorder is doing. Toggling is ignored while it starts or stops.
enum class RecordingState { idle, recording, starting, stopping };
