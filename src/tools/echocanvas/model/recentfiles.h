#ifndef MORVEK_ECHOCANVAS_RECENTFILES_H
#define MORVEK_ECHOCANVAS_RECENTFILES_H

#include <QSettings>
#include <QStringList>

namespace Morvek::Tools {

/** The scene files that were open last, the newest first, kept in the user's settings. */
class RecentFiles
{
public:
    static constexpr int MaxFiles = 8;

    /** @param settings  must outlive this */
    explicit RecentFiles(QSettings &settings);

    /** Absolute names; also of files that are gone. */
    QStringList files() const;
    void add(const QString &strFileName);
    void remove(const QString &strFileName);

private:
    QSettings &m_settings;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_RECENTFILES_H
