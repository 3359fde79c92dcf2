#pragma once

#include "ui/FolderChooser.h"

#include <QWidget>

class PrefsStore;

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

    PrefsStore &m_prefs;
};
