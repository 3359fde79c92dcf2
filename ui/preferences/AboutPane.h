#pragma once

#include "cloud/ServiceOrigin.h"
#include "platform/BundleInformation.h"

#include <QWidget>

class PlainButton;
class Spinner;
class TextLabel;
class UpdateChecker;
class Workspace;

/// Which version runs, whether there is a newer one, and the way to the web. Main thread.
class AboutPane : public QWidget
{
    Q_OBJECT

public:
    /// The references must outlive this object; \p bundle and \p origin are copied.
    AboutPane(UpdateChecker &updater, Workspace &workspace, const BundleInformation &bundle,
              const ConfiguredOrigin &origin, QWidget *parent = nullptr);

private:
    void build(const BundleInformation &bundle);
    QWidget *makeUpdateButton();
    void refresh();
    void checkOrDownload();
    void openWeb();

    UpdateChecker &m_updater;
    Workspace &m_workspace;
    const ConfiguredOrigin m_origin;
    PlainButton *m_update;
    Spinner *m_spinner;
    TextLabel *m_status;
};
