#pragma once

#include <QWidget>

class PrefsStore;

/// What belongs nowhere else. Main thread.
class GeneralPane : public QWidget
{
    Q_OBJECT

public:
    /// \p prefs must outlive this object.
    explicit GeneralPane(PrefsStore &prefs, QWidget *parent = nullptr);
};
