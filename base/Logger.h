#pragma once

#include <QString>

#include <functional>

/// Writes the log lines of one class to the systemd journal, and to standard error when that is a
/// terminal. Any thread; never from an audio callback (it allocates and makes a system call).
class Logger
{
public:
    enum class Level { info, error };

    /// The subsystem that every line carries.
    static constexpr const char *subsystem = "com.parlovance.mac";

    using Sink = std::function<void(const char *category, Level, const QString &message)>;

    /// \p category is a string literal; only the pointer is kept.
    explicit constexpr Logger(const char *category)
        : m_category(category)
    {
    }

    void info(const QString &message) const { write(Level::info, message); }
    void error(const QString &message) const { write(Level::error, message); }

    /// Sends every line of the process to \p sink instead; an empty one restores the journal.
    /// Main thread, while nothing else logs. The sink may be called on any thread.
    static void redirect(Sink sink);

private:
    void write(Level level, const QString &message) const;

    const char *m_category;
};
