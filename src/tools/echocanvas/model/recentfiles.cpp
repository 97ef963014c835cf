#include "recentfiles.h"

#include <QFileInfo>

namespace Morvek::Tools {

namespace {

const char *const Key = "recentFiles";

} // namespace

RecentFiles::RecentFiles(QSettings &settings)
    : m_settings(settings)
{}

QStringList RecentFiles::files() const
{
    return m_settings.value(QLatin1String(Key)).toStringList().mid(0, MaxFiles);
}

void RecentFiles::add(const QString &strFileName)
{
    const QString strFile = QFileInfo(strFileName).absoluteFilePath();
    QStringList files = this->files();
    files.removeAll(strFile);
    files.prepend(strFile);
    m_settings.setValue(QLatin1String(Key), QStringList(files.mid(0, MaxFiles)));
}

void RecentFiles::remove(const QString &strFileName)
{
    QStringList files = this->files();
    files.removeAll(QFileInfo(strFileName).absoluteFilePath());
    m_settings.setValue(QLatin1String(Key), files);
}

} // namespace Morvek::Tools
