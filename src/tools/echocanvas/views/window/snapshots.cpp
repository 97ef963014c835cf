#include "snapshots.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

namespace Morvek::Tools {

namespace {

constexpr int MaxNameLength = 80; // file systems take no names of any length

QString plainName(const QString &strName)
{
    static const QRegularExpression others(QStringLiteral("[^a-z0-9]+"));
    return strName.toLower().replace(others, QStringLiteral("-")).left(MaxNameLength);
}

} // namespace

sSnapshot writeSnapshot(const QString &strFolder, const QString &strName, const QImage &picture)
{
    if (picture.isNull())
        return {QString(), QStringLiteral("there is no picture of %1 yet").arg(strName)};
    const QDir folder(strFolder);
    if (!folder.mkpath(QStringLiteral(".")))
        return {QString(), QStringLiteral("cannot make the folder %1").arg(strFolder)};
    const QString strStem =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss-"))
        + plainName(strName);
    QString strFile = folder.absoluteFilePath(strStem + QStringLiteral(".png"));
    for (int nTry = 2; QFileInfo::exists(strFile); ++nTry)
        strFile = folder.absoluteFilePath(QStringLiteral("%1-%2.png").arg(strStem).arg(nTry));
    if (!picture.save(strFile))
        return {QString(), QStringLiteral("cannot write %1").arg(strFile)};
    return {strFile, QString()};
}

QString defaultSnapshotFolder()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::PicturesLocation))
        .filePath(QStringLiteral("echocanvas"));
}

} // namespace Morvek::Tools
