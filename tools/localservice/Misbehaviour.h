#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>

/// How an exchange is answered when it is not answered properly.
class Misbehaviour
{
public:
    /// The head of a well-formed reply; \p fields are further whole lines.
    static QByteArray replyHead(int status, qsizetype bodyBytes, const QByteArray &contentType,
                                const QByteArray &fields = {});

    /// A well-formed reply of that status and body.
    static Misbehaviour answered(int status, const QByteArray &body = {},
                                 const QByteArray &contentType = "application/json");

    static Misbehaviour redirected(int status, const QByteArray &location);

    /// These bytes instead of a reply, whatever they are; then the end of the connection.
    static Misbehaviour bytes(const QByteArray &raw);

    /// A good reply with \p body, one byte every \p interval.
    static Misbehaviour dripped(const QByteArray &body, std::chrono::milliseconds interval);

    /// A reply that ends \p keptBytes into its body.
    static Misbehaviour cutOff(const QByteArray &body, qsizetype keptBytes);

    /// A reply whose body is a JSON object of more than \p bodyBytes.
    static Misbehaviour oversized(qsizetype bodyBytes);

    /// No reply: a reset once so many bytes of the request's body are read; -1: all of them.
    static Misbehaviour closed(qint64 afterBodyBytes);

    /// Does what is asked, but the reply never arrives.
    static Misbehaviour replyLost();

    /// Does what is asked and answers properly, but late.
    static Misbehaviour late(std::chrono::milliseconds delay);

    /// From the spelling of the command line, KIND[:ARGUMENT]; none when it is not understood.
    static std::optional<Misbehaviour> parse(const QString &text);

    /// The kinds for a usage text.
    static QString kinds();

    std::chrono::milliseconds delay() const { return m_delay; }
    bool doesWhatIsAsked() const { return m_doesWhatIsAsked; }
    bool answersProperly() const { return m_answersProperly; }
    bool resets() const { return m_resets; }

    /// How much of the request's body is read; -1: all of it.
    qint64 bodyBytesRead() const { return m_bodyBytesRead; }

    const QByteArray &raw() const { return m_raw; }

    /// Between two bytes of the reply; zero: all at once.
    std::chrono::milliseconds byteInterval() const { return m_byteInterval; }

private:
    std::chrono::milliseconds m_delay{0};
    std::chrono::milliseconds m_byteInterval{0};
    bool m_doesWhatIsAsked = false;
    bool m_answersProperly = false;
    bool m_resets = false;
    qint64 m_bodyBytesRead = -1;
    QByteArray m_raw;
};
