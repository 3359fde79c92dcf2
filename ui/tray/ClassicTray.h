#pragma once

#include <QAbstractNativeEventFilter>
#include <QColor>
#include <QObject>

#include <optional>

/// The tray of the older kind, which holds the selection that the System Tray Protocol names on an
/// X11 display. Without X11 there is none, ever. Main thread.
class ClassicTray : public QObject, private QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    /// After the toolkit's application object.
    explicit ClassicTray(QObject *parent = nullptr);
    ~ClassicTray() override;

    /// Whether there is one now. Asks the display server: microseconds.
    static bool isPresent();

    /// The colour of the text on its panel, where the panel tells it: the property
    /// _NET_SYSTEM_TRAY_COLORS of the same protocol.
    static std::optional<QColor> textColor();

Q_SIGNALS:
    /// One has come up since.
    void arrived();

private:
    bool nativeEventFilter(const QByteArray &kind, void *message, qintptr *result) override;
};
