#include "scenewatcher.h"

#include "scenereader.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace Morvek::Tools {

namespace {

constexpr int SettlingMs = 150;
constexpr int LongestSettlingMs = 1000; // in a folder where files come and go all the time
constexpr int TracingMs = 1000;

} // namespace

SceneWatcher::SceneWatcher(QObject *parent)
    : QObject(parent)
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(SettlingMs);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &SceneWatcher::wait);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &SceneWatcher::wait);
    connect(&m_settling, &QTimer::timeout, this, &SceneWatcher::look);
    connect(&m_tracing, &QTimer::timeout, this, &SceneWatcher::lookForTraces);
}

void SceneWatcher::watch(const QString &strFileName)
{
    m_settling.stop();
    m_tracing.stop();
    m_strFileName = strFileName;
    m_trace = presentTrace();
    m_knownText = presentText();
    m_isBroken = false;
    follow();
    if (!m_strFileName.isEmpty())
        m_tracing.start(TracingMs);
}

/** Put off by each further change, but not for ever. */
void SceneWatcher::wait()
{
    if (!m_settling.isActive())
        m_waiting.start();
    if (m_waiting.elapsed() < LongestSettlingMs)
        m_settling.start();
}

/** Of a folder that another one has taken the place of, the system tells nothing. */
void SceneWatcher::lookForTraces()
{
    if (!(presentTrace() == m_trace))
        wait();
}

/** Of a file that was replaced, the system only tells that the old one is gone: hence the folder. */
void SceneWatcher::follow()
{
    // Anew each time: what bears the names now may not be what is being followed.
    unfollow();
    if (isFile())
        m_watcher.addPath(m_strFileName);
    const QString strFolder = QFileInfo(m_strFileName).absolutePath();
    if (!m_strFileName.isEmpty() && QFileInfo::exists(strFolder))
        m_watcher.addPath(strFolder);
}

void SceneWatcher::unfollow()
{
    const QStringList watched = m_watcher.files() + m_watcher.directories();
    if (!watched.isEmpty())
        m_watcher.removePaths(watched);
}

bool SceneWatcher::isFile() const
{
    return !m_strFileName.isEmpty() && QFileInfo(m_strFileName).isFile();
}

SceneWatcher::sTrace SceneWatcher::presentTrace() const
{
    const QFileInfo info(m_strFileName);
    if (m_strFileName.isEmpty() || !info.exists())
        return {};
    return {info.lastModified().toMSecsSinceEpoch(), info.size()};
}

QByteArray SceneWatcher::presentText() const
{
    QFile file(m_strFileName);
    return isFile() && file.open(QIODevice::ReadOnly) ? readSceneText(file) : QByteArray();
}

std::optional<sScene> SceneWatcher::readText(const QByteArray &text, QStringList &problems) const
{
    if (!text.isEmpty())
        return readScene(text, m_strFileName, problems);
    if (isFile() || !QFileInfo::exists(m_strFileName))
        return readSceneFile(m_strFileName, problems); // which tells why there is no text
    problems.append(QStringLiteral("%1: expected a file").arg(m_strFileName));
    return std::nullopt;
}

void SceneWatcher::look()
{
    // Before the text is read: what changes while it is read makes for another look.
    follow();
    m_trace = presentTrace();
    const QByteArray text = presentText();
    const bool isGone = !isFile();
    if (text == m_knownText && !(isGone && !m_isBroken))
        return;
    m_knownText = text;
    QStringList problems;
    const std::optional<sScene> scene = readText(text, problems);
    m_isBroken = !scene;
    if (scene)
        Q_EMIT changed(*scene);
    else
        Q_EMIT broken(problems);
}

} // namespace Morvek::Tools
