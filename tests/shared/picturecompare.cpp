#include "picturecompare.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cstdlib>

namespace Morvek::Tests {

namespace {

QString asText(const QSize &size)
{
    return QStringLiteral("%1 x %2").arg(size.width()).arg(size.height());
}

QString saved(const QImage &picture, const QString &strName)
{
    const QString strPath = QDir::temp().filePath(
        QStringLiteral("%1-%2-%3.png")
            .arg(QFileInfo(QString::fromUtf8(QTest::currentAppName())).fileName(),
                 QString::fromUtf8(QTest::currentTestFunction()), strName));
    return picture.save(strPath) ? strPath : QStringLiteral("(not saved)");
}

QString pixelText(QRgb pixel)
{
    return QStringLiteral("argb(%1, %2, %3, %4)")
        .arg(qAlpha(pixel))
        .arg(qRed(pixel))
        .arg(qGreen(pixel))
        .arg(qBlue(pixel));
}

bool isNear(QRgb left, QRgb right, int nTolerance)
{
    return std::abs(qAlpha(left) - qAlpha(right)) <= nTolerance
        && std::abs(qRed(left) - qRed(right)) <= nTolerance
        && std::abs(qGreen(left) - qGreen(right)) <= nTolerance
        && std::abs(qBlue(left) - qBlue(right)) <= nTolerance;
}

} // namespace

QString pictureDifference(const QImage &actual, const QImage &expected, int nTolerance)
{
    if (actual.size() != expected.size())
        return QStringLiteral("size is %1, expected %2")
            .arg(asText(actual.size()), asText(expected.size()));
    const QImage left = actual.convertToFormat(QImage::Format_ARGB32);
    const QImage right = expected.convertToFormat(QImage::Format_ARGB32);
    int nDifferent = 0;
    QString strFirst;
    for (int y = 0; y < left.height(); ++y) {
        const auto *pLeft = reinterpret_cast<const QRgb *>(left.constScanLine(y));
        const auto *pRight = reinterpret_cast<const QRgb *>(right.constScanLine(y));
        for (int x = 0; x < left.width(); ++x) {
            if (isNear(pLeft[x], pRight[x], nTolerance))
                continue;
            if (++nDifferent == 1)
                strFirst = QStringLiteral("pixel (%1, %2) is %3, expected %4")
                               .arg(x)
                               .arg(y)
                               .arg(pixelText(pLeft[x]), pixelText(pRight[x]));
        }
    }
    if (nDifferent == 0)
        return QString();
    return QStringLiteral("%1; %2 of %3 pixels differ; actual %4, expected %5")
        .arg(strFirst)
        .arg(nDifferent)
        .arg(left.width() * left.height())
        .arg(saved(actual, QStringLiteral("actual")), saved(expected, QStringLiteral("expected")));
}

double meanDifference(const QImage &left, const QImage &right)
{
    if (left.size() != right.size() || left.isNull())
        return 255.0;
    const QImage a = left.convertToFormat(QImage::Format_RGB32);
    const QImage b = right.convertToFormat(QImage::Format_RGB32);
    qint64 nSum = 0;
    for (int y = 0; y < a.height(); ++y) {
        const auto *pA = reinterpret_cast<const QRgb *>(a.constScanLine(y));
        const auto *pB = reinterpret_cast<const QRgb *>(b.constScanLine(y));
        for (int x = 0; x < a.width(); ++x) {
            nSum += std::abs(qRed(pA[x]) - qRed(pB[x])) + std::abs(qGreen(pA[x]) - qGreen(pB[x]))
                  + std::abs(qBlue(pA[x]) - qBlue(pB[x]));
        }
    }
    return double(nSum) / (3.0 * a.width() * a.height());
}

} // namespace Morvek::Tests
