#pragma once

#include "core/AppState.h"
#include "tests/support/AppRig.h"
#include "tests/support/AuthDesktop.h"
#include "ui/panel/PopoverView.h"

#include <QTest>

#include <memory>
#include <optional>

/// The panel, shown, over real state objects; what they stand on is scripted. The service is not
/// there unless desktop.http has an answer, and what is asked of it at launch is over. A counted
/// second takes a minute, so that only a test that says otherwise sees the timer move.
class PanelStage : public AppRig
{
public:
    explicit PanelStage(const QList<RecentSession> &entries = {}, bool isSignedIn = true,
                        std::chrono::milliseconds second = std::chrono::minutes(1));
    ~PanelStage();
    Q_DISABLE_COPY_MOVE(PanelStage)

    static RecentSession failed(const QString &title, const std::optional<QString> &reason);

    /// The control of this name, which must be there.
    template<class Widget = QWidget>
    Widget &find(const QString &name) const
    {
        auto *const found = panel->findChild<Widget *>(name);
        if (!found)
            qFatal("the panel has no %s", qPrintable(name));
        return *found;
    }

    /// A click of the left button in the middle of the control.
    void click(const QString &name) const { QTest::mouseClick(&find(name), Qt::LeftButton); }

    bool isShown(const QString &name) const { return find(name).isVisible(); }

    /// Uploads that begin from now on do not end while this object lives.
    void holdUploads() { desktop.script.holdAt(firstStepOfUpload); }

    /// Toggles, and waits until the recorder is in \p state.
    void record(RecordingState state) const;

    AuthDesktop desktop;
    std::unique_ptr<AppState> app;
    AuthClient *auth = nullptr;
    std::unique_ptr<PopoverView> panel;

private:
    static inline const auto firstStepOfUpload = QStringLiteral("POST /api/meetings/reconcile");
};
