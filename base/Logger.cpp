#include "base/Logger.h"

#include <systemd/sd-journal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace
{
Logger::Sink &redirectedSink()
{
    static Logger::Sink sink;
    return sink;
}

void writeToJournal(const char *category, Logger::Level level, const QByteArray &message)
{
    // The numbers of syslog(3): 6 is informational, 3 an error.
    const int priority = level == Logger::Level::error ? 3 : 6;
    // Without a journal this fails, and there is nowhere left to tell.
    sd_journal_send("MESSAGE=%s", message.constData(), "PRIORITY=%d", priority, "SUBSYSTEM=%s",
                    Logger::subsystem, "CATEGORY=%s", category, nullptr);
}
/// Control characters from outside must not steer the terminal.
QByteArray withoutControls(QByteArray text)
{
    std::ranges::replace_if(text, [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }, '?');
    return text;
}
} // namespace

void Logger::redirect(Sink sink)
{
    redirectedSink() = std::move(sink);
}

void Logger::write(Level level, const QString &message) const
{
    if (const auto &sink = redirectedSink()) {
        sink(m_category, level, message);
        return;
    }
    const QByteArray text = message.toUtf8();
    writeToJournal(m_category, level, text);
    static const bool hasTerminal = isatty(STDERR_FILENO) == 1;
    if (hasTerminal) {
        std::fprintf(stderr, "%s %s: %s\n", level == Level::error ? "error" : "info ", m_category,
                     withoutControls(text).constData());
    }
}
