#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>

/// The pages of the local service, as UTF-8 HTML. All texts that come from outside are escaped.
namespace Pages
{

/// \p state comes back with the form.
QByteArray signIn(const QString &state);

/// Shown where the browser does not follow to \p callback by itself.
QByteArray signedIn(const QString &callback);

QByteArray home();
QByteArray meetings(const QJsonArray &meetings);
QByteArray meeting(const QJsonObject &meeting);
QByteArray problem(const QString &text);

} // namespace Pages
