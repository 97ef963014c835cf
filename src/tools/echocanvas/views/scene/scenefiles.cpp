#include "scenefiles.h"

#include "messagebanner.h"
#include "scenereader.h"

#include <QAction>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>

namespace Morvek::Tools {

namespace {

QString filter()
{
    return QStringLiteral("Scenes (*.json);;All files (*)");
}

/** What a menu shows as it is, and does not take for a mnemonic. */
QString literal(QString strText)
{
    return strText.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

} // namespace

SceneFiles::SceneFiles(WindowHost &host, QSettings &settings, QMenu &menu, MessageBanner &banner,
                       QWidget &window)
    : QObject(&window)
    , m_host(host)
    , m_recentFiles(settings)
    , m_banner(banner)
    , m_window(window)
{
    addActions(menu);
    connect(&m_watcher, &SceneWatcher::changed, this, &SceneFiles::slotFileChanged);
    connect(&m_watcher, &SceneWatcher::broken, this, &SceneFiles::slotFileBroken);
    connect(&m_banner, &MessageBanner::accepted, this, &SceneFiles::reload);
    const QString strFile = m_host.document().fileName();
    m_watcher.watch(strFile);
    if (!strFile.isEmpty())
        m_recentFiles.add(strFile);
}

void SceneFiles::addActions(QMenu &menu)
{
    menu.addAction(QStringLiteral("&Open…"), this, &SceneFiles::askAndOpen, QKeySequence::Open);
    m_pRecentMenu = menu.addMenu(QStringLiteral("Open &recent"));
    connect(m_pRecentMenu, &QMenu::aboutToShow, this, &SceneFiles::fillRecentMenu);
    menu.addAction(QStringLiteral("&Built-in scene"), this, &SceneFiles::openBuiltIn,
                   QKeySequence::New);
    menu.addSeparator();
    menu.addAction(QStringLiteral("&Save"), this, &SceneFiles::save, QKeySequence::Save);
    menu.addAction(QStringLiteral("Save &as…"), this, &SceneFiles::askAndSave,
                   QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
    m_pReload = menu.addAction(
        QStringLiteral("Re&load from the file"), this,
        [this] {
            if (mayDiscard())
                reload();
        },
        Qt::Key_F5);
}

bool SceneFiles::open(const QString &strFileName)
{
    const QString strFormer = m_watcher.fileName();
    m_watcher.watch(strFileName); // first, so that no change is missed while it is read
    QStringList problems;
    std::optional<sScene> scene;
    if (QFileInfo::exists(strFileName) && !QFileInfo(strFileName).isFile())
        problems.append(QStringLiteral("%1: expected a file").arg(strFileName)); // a pipe may block
    else
        scene = readSceneFile(strFileName, problems);
    if (!scene) {
        m_watcher.watch(strFormer);
        if (strFileName == m_host.document().fileName())
            m_isOtherOnDisk = true; // which the watcher now takes as known
        m_banner.tell(QStringLiteral("%1 is no scene; the present one stays")
                          .arg(QFileInfo(strFileName).fileName()),
                      problems, QString());
        return false;
    }
    m_banner.hide();
    m_isOtherOnDisk = false;
    m_host.setScene(*scene, strFileName);
    if (!strFileName.isEmpty())
        m_recentFiles.add(strFileName);
    return true;
}

void SceneFiles::askAndOpen()
{
    if (!mayDiscard())
        return;
    const QString strFile = QFileDialog::getOpenFileName(&m_window, QStringLiteral("Open a scene"),
                                                         m_host.document().fileName(), filter());
    if (!strFile.isEmpty())
        open(strFile);
}

void SceneFiles::openBuiltIn()
{
    if (mayDiscard())
        open(QString());
}

/** What is typed in a field, but not yet taken over, is an edit too. */
void SceneFiles::finishEdit()
{
    if (QWidget *const pField = m_window.focusWidget()) {
        pField->clearFocus();
        pField->setFocus();
    }
}

bool SceneFiles::save()
{
    finishEdit();
    const QString strFile = m_host.document().fileName();
    if (strFile.isEmpty())
        return askAndSave();
    if (!m_isOtherOnDisk || !QFileInfo::exists(strFile))
        return saveAs(strFile);
    QMessageBox box(QMessageBox::Warning, QStringLiteral("The file has changed"),
                    QStringLiteral("%1 has changed on disk since it was read; what is there now "
                                   "would be lost.")
                        .arg(m_host.document().title()),
                    QMessageBox::Cancel, &m_window);
    const QPushButton *const pOverwrite =
        box.addButton(QStringLiteral("&Overwrite"), QMessageBox::DestructiveRole);
    const QPushButton *const pElsewhere =
        box.addButton(QStringLiteral("Save &as…"), QMessageBox::AcceptRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    if (box.clickedButton() == pOverwrite)
        return saveAs(strFile);
    return box.clickedButton() == pElsewhere && askAndSave();
}

bool SceneFiles::askAndSave()
{
    finishEdit();
    const QString strFile = QFileDialog::getSaveFileName(
        &m_window, QStringLiteral("Save the scene"), m_host.document().fileName(), filter());
    return !strFile.isEmpty() && saveAs(strFile);
}

bool SceneFiles::saveAs(const QString &strFileName)
{
    const QString strError = m_host.document().save(strFileName);
    if (!strError.isEmpty()) {
        m_banner.tell(QStringLiteral("The scene was not saved"), {strError}, QString());
        return false;
    }
    m_banner.hide(); // which may tell of a file that is no longer so
    m_isOtherOnDisk = false;
    Q_EMIT told(QStringLiteral("Saved %1").arg(strFileName));
    m_watcher.watch(strFileName);
    m_recentFiles.add(strFileName);
    return true;
}

void SceneFiles::reload()
{
    open(m_host.document().fileName());
}

bool SceneFiles::mayDiscard()
{
    finishEdit();
    if (!m_host.document().isModified())
        return true;
    const auto eAnswer = QMessageBox::question(
        &m_window, QStringLiteral("Unsaved changes"),
        QStringLiteral("The scene %1 has changes that are not saved.")
            .arg(m_host.document().title()),
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save);
    if (eAnswer == QMessageBox::Save)
        return save();
    return eAnswer == QMessageBox::Discard;
}

void SceneFiles::fillRecentMenu()
{
    m_pRecentMenu->clear();
    const QStringList files = m_recentFiles.files();
    for (const QString &strFile : files) {
        m_pRecentMenu->addAction(literal(strFile), this, [this, strFile] {
            if (!mayDiscard())
                return;
            if (!open(strFile) && !QFileInfo::exists(strFile))
                m_recentFiles.remove(strFile);
        });
    }
    if (files.isEmpty())
        m_pRecentMenu->addAction(QStringLiteral("None yet"))->setEnabled(false);
}

/** Nobody's edits are lost because a file changes: then it is for the user to say. */
void SceneFiles::slotFileChanged(const sScene &scene)
{
    if (m_host.document().isModified()) {
        m_isOtherOnDisk = true;
        m_banner.tell(QStringLiteral("%1 has changed on disk, and here are changes that are not "
                                     "saved")
                          .arg(m_host.document().title()),
                      {}, QStringLiteral("&Reload, losing the changes"));
        return;
    }
    m_banner.hide();
    m_isOtherOnDisk = false;
    m_host.setScene(scene, m_host.document().fileName());
    Q_EMIT told(QStringLiteral("%1 has changed on disk and is shown as it is now; undo begins anew")
                    .arg(m_host.document().title()));
}

void SceneFiles::slotFileBroken(const QStringList &problems)
{
    m_isOtherOnDisk = true;
    QStringList lines = problems;
    lines.append(
        m_host.document().isModified()
            ? QStringLiteral("The last good scene stays, with the changes made here, which "
                             "are not saved. Saving asks before it replaces the broken file.")
            : QStringLiteral("The last good scene stays. The file is read again as soon as "
                             "it changes."));
    m_banner.tell(QStringLiteral("%1 has changed and is broken").arg(m_host.document().title()),
                  lines, QString());
}

} // namespace Morvek::Tools
