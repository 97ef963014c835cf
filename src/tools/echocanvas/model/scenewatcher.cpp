#include "scenewatcher.h"

#include "scenereader.h"

#include <QFile>
#include <QFileInfo>

namespace Morvek::Tools {

namespace {

constexpr int SettlingMs = 150;

} // namespace

SceneWatcher::SceneWatcher(QObject *parent)
    : QObject(parent)
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(SettlingMs);
    const auto wait = [this] { m_settling.start(); };
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, wait);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, wait);
    connect(&m_settling, &QTimer::timeout, this, &SceneWatcher::look);
}

void SceneWatcher::watch(const QString &strFileName)
{
    const QStringList watched = m_watcher.files() + m_watcher.directories();
    if (!watched.isEmpty())
        m_watcher.removePaths(watched);
    m_settling.stop();
    m_strFileName = strFileName;
    m_knownText = presentText();
    m_isBroken = false;
    follow();
}

/** Of a file that was replaced, the system only tells that the old one is gone: hence the folder. */
void SceneWatcher::follow()
{
    if (m_strFileName.isEmpty())
        return;
    const QFileInfo info(m_strFileName);
    if (info.exists() && !m_watcher.files().contains(m_strFileName))
        m_watcher.addPath(m_strFileName);
    const QString strFolder = info.absolutePath();
    if (QFileInfo::exists(strFolder) && !m_watcher.directories().contains(strFolder))
        m_watcher.addPath(strFolder);
}

QByteArray SceneWatcher::presentText() const
{
    if (m_strFileName.isEmpty())
        return QByteArray();
    QFile file(m_strFileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void SceneWatcher::look()
{
    follow();
    const QByteArray text = presentText();
    const bool isGone = !QFileInfo::exists(m_strFileName);
    if (text == m_knownText && !(isGone && !m_isBroken))
        return;
    m_knownText = text;
    QStringList problems;
    const std::optional<sScene> scene = readSceneFile(m_strFileName, problems);
    m_isBroken = !scene;
    if (scene)
        Q_EMIT changed(*scene);
    else
        Q_EMIT broken(problems);
}

} // namespace Morvek::Tools
