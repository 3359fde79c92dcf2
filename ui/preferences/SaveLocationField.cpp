#include "ui/preferences/SaveLocationField.h"

#include "base/Tasks.h"
#include "settings/PrefsStore.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/RoundedBox.h"
#include "ui/parts/TextLabel.h"
#include "ui/preferences/PrefRow.h"

#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QPointer>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
/// The sentence for the user, empty for a folder that can be written to. A folder that is not there
/// is made by the first recording, where the one above it allows that. Any thread; may take long on
/// a network.
QString problemWith(const QString &path)
{
    QFileInfo info(QDir::current().absoluteFilePath(path));
    while (!info.exists() && !info.isRoot())
        info.setFile(info.absolutePath());
    if (!info.isDir())
        return u"此位置不是文件夹，录音将无法保存"_s;
    if (!info.isWritable())
        return u"没有写入此文件夹的权限，录音将无法保存"_s;
    return {};
}

QWidget *makePathBox(TextLabel *path)
{
    auto *const box = new RoundedBox(MS::bg, MS::border, 5);
    box->setFixedHeight(PrefRow::lineHeight);
    auto *const row = new QHBoxLayout(box);
    row->setContentsMargins(8, 0, 8, 0);
    row->addWidget(path);
    return box;
}
} // namespace

SaveLocationField::SaveLocationField(PrefsStore &prefs, const FolderChooser &chooser,
                                     QWidget *parent)
    : QWidget(parent)
    , m_prefs(prefs)
    , m_chooser(chooser)
    , m_path(new TextLabel({}, MS::monospaced(10.5), MS::textDim))
    , m_problem(makeNote({}, MS::ember))
{
    m_path->setObjectName(u"saveLocation"_s);
    m_path->setElideMode(Qt::ElideMiddle);
    m_problem->setObjectName(u"saveLocationProblem"_s);
    auto *const choose =
        new PlainButton(raisedFace(11.5, MS::textDim, QMargins(10, 0, 10, 0)), u"选择…"_s);
    choose->setObjectName(u"chooseFolder"_s);
    choose->setFixedHeight(PrefRow::lineHeight);
    choose->setAccessibleDescription(u"保存位置"_s);
    connect(choose, &QAbstractButton::clicked, this, &SaveLocationField::pickFolder);

    auto *const row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(makePathBox(m_path), 1);
    row->addWidget(choose);
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    column->addLayout(row);
    column->addWidget(m_problem);
    m_problem->hide();

    connect(&m_prefs, &PrefsStore::changed, this, &SaveLocationField::refresh);
    refresh();
}

void SaveLocationField::pickFolder()
{
    const QPointer self(this);
    m_chooser(window(), m_prefs.saveLocation(), [self](const QString &path) {
        if (self)
            self->m_prefs.setSaveLocation(path);
    });
}

void SaveLocationField::refresh()
{
    if (m_path->text() == m_prefs.saveLocation())
        return;
    m_path->setText(m_prefs.saveLocation());
    m_problem->hide(); // was another folder's
    if (isVisible())
        runDetached(judgeFolder());
}

void SaveLocationField::showEvent(QShowEvent *)
{
    runDetached(judgeFolder());
}

QCoro::Task<> SaveLocationField::judgeFolder()
{
    const QPointer self(this);
    const QString path = m_prefs.saveLocation();
    const auto judged = inBackground([path] { return problemWith(path); });
    const QString problem = co_await judged;
    if (!self || path != m_prefs.saveLocation())
        co_return;
    m_problem->setText(problem);
    m_problem->setVisible(!problem.isEmpty());
}
