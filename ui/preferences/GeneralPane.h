#pragma once

#include <QWidget>

class PrefsStore;

/// The settings that belong to no other pane. Main thread.
class GeneralPane : public QWidget
{
    Q_OBJECT

public:
    /// \p prefs must outlive this object.
    explicit GeneralPane(PrefsStore &prefs, QWidget *parent = nullptr);
};
