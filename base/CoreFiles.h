#pragma once

class QProcess;

/// Core files of a process whose memory holds a token would hold it too. The limit of the process
/// is what can be used against them: a process that is not dumpable may not open its own /proc
/// either.
namespace CoreFiles
{
/// No core is written of this process from now on, and none is handed to a program of the system
/// that collects them: Linux takes a limit of one byte as that wish (core(5)). Before any thread.
void refuse();

/// \p process will have the limit that this one was started with.
void allowAsBefore(QProcess &process);
} // namespace CoreFiles
