#include "pictureoutput.h"

#include "canvaspainter.h"

#include <QDir>
#include <QImageWriter>

namespace Morvek::Tools {

namespace {

QString fileWord(const QString &strName)
{
    QString strWord;
    for (const QChar letter : strName.toLower()) {
        const bool isPlain = letter.unicode() < 128 && letter.isLetterOrNumber();
        if (isPlain)
            strWord += letter;
        else if (!strWord.isEmpty() && !strWord.endsWith(QLatin1Char('-')))
            strWord += QLatin1Char('-');
    }
    return strWord.endsWith(QLatin1Char('-')) ? strWord.chopped(1) : strWord;
}

/** The file's name; empty, with a problem added, if it could not be written. */
QString written(const QImage &image, const QString &strFile, QStringList &problems)
{
    QImageWriter writer(strFile, "png");
    if (writer.write(image))
        return strFile;
    problems.append(QStringLiteral("cannot write %1: %2").arg(strFile, writer.errorString()));
    return QString();
}

} // namespace

QString canvasFileName(int nScreen)
{
    return QStringLiteral("screen-%1.png").arg(nScreen);
}

QString layerFileName(int nScreen, int nLayer, const QString &strLayer)
{
    const QString strWord = fileWord(strLayer);
    return QStringLiteral("screen-%1-layer-%2%3.png")
        .arg(nScreen)
        .arg(nLayer, 2, 10, QLatin1Char('0'))
        .arg(strWord.isEmpty() ? QString() : QLatin1Char('-') + strWord);
}

void writePictures(const QString &strFolder, const sScene &scene,
                   const QList<QList<QImage>> &previews, sRunReport &report)
{
    if (!QDir().mkpath(strFolder)) {
        report.m_problems.append(QStringLiteral("cannot make the folder %1").arg(strFolder));
        return;
    }
    const QDir folder(strFolder);
    int nReport = 0;
    for (int nScreen = 0; nScreen < scene.m_screens.size(); ++nScreen) {
        const sSceneScreen &screen = scene.m_screens[nScreen];
        for (int nLayer = 0; nLayer < screen.m_layers.size(); ++nLayer, ++nReport) {
            const QImage &preview = previews[nScreen][nLayer];
            const QString strFile =
                layerFileName(nScreen + 1, nLayer + 1, screen.m_layers[nLayer].m_strName);
            if (!preview.isNull())
                report.m_layers[nReport].m_strPicture =
                    written(preview, folder.filePath(strFile), report.m_problems);
        }
        const QString strCanvas =
            written(paintedCanvas(screen, previews[nScreen]),
                    folder.filePath(canvasFileName(nScreen + 1)), report.m_problems);
        report.m_canvases.append({screen.m_strName, strCanvas});
    }
}

} // namespace Morvek::Tools
