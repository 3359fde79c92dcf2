#pragma once

#include "ui/preferences/FolderChooser.h"

#include <QWidget>

#include <functional>

class PrefsStore;
class RadioRow;

/// How recordings are made, where they are saved, and when they are uploaded. Main thread.
class RecordingPane : public QWidget
{
    Q_OBJECT

public:
    /// \p prefs must outlive this object.
    RecordingPane(PrefsStore &prefs, const FolderChooser &chooser, QWidget *parent = nullptr);

private:
    QWidget *makeQuality();
    QWidget *makeStrategy();
    void connectChoice(RadioRow &row, const std::function<bool()> &isChosen,
                       const std::function<void()> &choose);

    PrefsStore &m_prefs;
};
