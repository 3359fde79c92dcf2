#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

/// The parts of an address that the desktop handed to the program, from its text as it came.
///
/// Not QUrl: that folds the case of scheme and host, decodes the host, and one bad percent-escape
/// makes it leave all others alone. Anybody can send such an address, so every text has a defined
/// result, found in a time that grows with its length:
/// - a text over 64 KiB, one with a control character or half a surrogate pair, and one without a
///   well-formed scheme have no parts at all;
/// - the host is there only after "//" and only when it consists of ASCII letters, digits and
///   "-._~"; user information and a port are left aside; nothing in it is decoded;
/// - query items lie between the first "?" and the first "#", separated by "&". Names and values
///   are percent-decoded once; a plus sign stays one. An item without "=" has no value, nor has one
///   that cannot be decoded (a bad escape, or bytes that are not UTF-8); a name that cannot be
///   decoded makes no item.
class CallbackUrl
{
public:
    explicit CallbackUrl(const QString &text);

    const std::optional<QString> &scheme() const { return m_scheme; }
    const std::optional<QString> &host() const { return m_host; }

    bool hasItem(QStringView name) const;

    /// The value of the first item of this name.
    std::optional<QString> value(QStringView name) const;

private:
    struct Item {
        QString name;
        std::optional<QString> value;
    };

    void addItem(QStringView text);
    const Item *firstItem(QStringView name) const;

    std::optional<QString> m_scheme;
    std::optional<QString> m_host;
    QList<Item> m_items;
};
