// What the quick drawing is made of: scalings, tones and fades, each against the raster engine's own.

#include "borderramp_p.h"
#include "quickdrawing/borderfade_p.h"
#include "quickdrawing/pixelgather_p.h"
#include "quickdrawing/scalemap_p.h"
#include "quickdrawing/tonelookup_p.h"
#include "quickdrawing/tonetable_p.h"
#include "sanitized.h"

#include <QObject>
#include <QPainter>
#include <QRandomGenerator>
#include <QtTest>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

QImage noise(const QSize &size, QImage::Format format, QRandomGenerator &random)
{
    QImage picture(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y)
        random.fillRange(reinterpret_cast<quint32 *>(picture.scanLine(y)), size.width());
    return picture.convertToFormat(format);
}

QImage scaled(const QImage &picture, const QSize &size, eScaling scaling)
{
    if (scaling == eScaling::Copied)
        return picture.scaled(size, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    QImage canvas(size, QImage::Format_ARGB32);
    QPainter painter(&canvas);
    painter.drawImage(QRectF(QPointF(0, 0), QSizeF(size)), picture);
    return canvas;
}

} // namespace

class tst_QuickDrawingParts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void twoMapsAreTheWholeOfAScaling_data();
    void twoMapsAreTheWholeOfAScaling();
    void mapsAreForgottenWhenTheyAreMany();
    void tonesOfEveryStep_data();
    void tonesOfEveryStep();
    void opaquePixelsAreRoundedAlikeEverywhere_data();
    void opaquePixelsAreRoundedAlikeEverywhere();
    void everyFormLooksUpTheSame_data();
    void everyFormLooksUpTheSame();
    void everyFormGathersTheSame_data();
    void everyFormGathersTheSame();
    void tablesAreKeptAndForgotten();
    void fadeIsThatOfTheTiles_data();
    void fadeIsThatOfTheTiles();
};

void tst_QuickDrawingParts::twoMapsAreTheWholeOfAScaling_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<int>("scaling");

    const std::pair<const char *, QImage::Format> formats[] = {
        {"8 bits", QImage::Format_Grayscale8},
        {"24 bits", QImage::Format_RGB888},
        {"32 bits", QImage::Format_RGB32}};
    for (const auto &[pName, format] : formats) {
        QTest::addRow("%s, drawn", pName) << int(format) << int(eScaling::Drawn);
        QTest::addRow("%s, copied", pName) << int(format) << int(eScaling::Copied);
    }
}

void tst_QuickDrawingParts::twoMapsAreTheWholeOfAScaling()
{
    QFETCH(int, format);
    QFETCH(int, scaling);

    QRandomGenerator random(7);
    ScaleMaps maps;
    for (int i = 0; i < rounds(1000); ++i) {
        const QSize from(random.bounded(1, 300), random.bounded(1, 200));
        const QSize to(random.bounded(1, 300), random.bounded(1, 200));
        const QImage picture = noise(from, QImage::Format(format), random);
        const ScaleMap &columns = maps.find(
            {eScaling(scaling), Qt::Horizontal, picture.depth(), from.width(), to.width()});
        const ScaleMap &rows = maps.find(
            {eScaling(scaling), Qt::Vertical, picture.depth(), from.height(), to.height()});
        if (columns.empty() || rows.empty())
            continue; // the engine left a pixel out, and nobody claims to know what it holds
        QCOMPARE(int(columns.size()), to.width());
        QCOMPARE(int(rows.size()), to.height());
        const QImage wanted = scaled(picture, to, eScaling(scaling));
        for (int y = 0; y < to.height(); ++y) {
            for (int x = 0; x < to.width(); ++x)
                QCOMPARE(picture.pixel(columns[size_t(x)], rows[size_t(y)]), wanted.pixel(x, y));
        }
    }
}

void tst_QuickDrawingParts::mapsAreForgottenWhenTheyAreMany()
{
    ScaleMaps maps;
    const sScaling scaling{eScaling::Drawn, Qt::Horizontal, 32, 3, 8192};
    const ScaleMap *const pFirst = &maps.find(scaling);
    QCOMPARE(&maps.find(scaling), pFirst); // asked for once
    maps.forgetIfLarge();
    QCOMPARE(&maps.find(scaling), pFirst);
    for (int nFrom = 4; nFrom < 200; ++nFrom)
        maps.find({eScaling::Drawn, Qt::Horizontal, 32, nFrom, 8192});
    QVERIFY(maps.m_maps.size() > 100);
    maps.forgetIfLarge();
    QCOMPARE(maps.m_maps.size(), size_t(0));
}

void tst_QuickDrawingParts::tonesOfEveryStep_data()
{
    QTest::addColumn<int>("fade");
    QTest::addColumn<int>("layerAlpha");
    QTest::addColumn<bool>("isMasked");
    QTest::addColumn<bool>("isOpacityDrawn");
    QTest::addColumn<int>("opacity");

    for (const int nFade : {0, 1, 2, 3}) {
        for (const int nLayerAlpha : {255, 254, 100, 1, 0}) {
            for (const bool isMasked : {false, true}) {
                for (const int nOpacity : {-1, 100, 80, 1, 0})
                    QTest::addRow("fade %d, alpha %d, mask %d, opacity %d", nFade, nLayerAlpha,
                                  int(isMasked), nOpacity)
                        << nFade << nLayerAlpha << isMasked << (nOpacity != -1)
                        << qMax(nOpacity, 0);
            }
        }
    }
}

// All 256 values of all three channels, under all 256 alphas, drawn in one picture of colours that
// the table does not know: its own canvas is gray.
void tst_QuickDrawingParts::tonesOfEveryStep()
{
    QFETCH(int, fade);
    QFETCH(int, layerAlpha);
    QFETCH(bool, isMasked);
    QFETCH(bool, isOpacityDrawn);
    QFETCH(int, opacity);

    sToneSteps steps;
    steps.m_fade = sToneSteps::eFade(fade);
    steps.m_fadeColor = QColor(30, 140, 250);
    steps.m_nLayerAlpha = layerAlpha;
    steps.m_isMasked = isMasked;
    steps.m_isOpacityDrawn = isOpacityDrawn;
    steps.m_nOpacity = opacity;

    constexpr int Values = 256;
    QImage canvas(Values, Values, QImage::Format_ARGB32);
    QImage fadePicture(canvas.size(), QImage::Format_ARGB32);
    QImage maskPicture(canvas.size(), QImage::Format_ARGB32);
    const auto color = [](int x, int y) {
        return qRgb(x, (x * 7 + y) & 255, (x * 11 + y * 3 + 5) & 255);
    };
    const bool isHalo = fade == sToneSteps::HaloFade;
    const auto isKept = [&](int x, int y) { return isHalo || (x * 3 + y) % 5 != 0; };
    for (int y = 0; y < Values; ++y) {
        for (int x = 0; x < Values; ++x) {
            canvas.setPixel(x, y, color(x, y));
            fadePicture.setPixel(x, y, qRgba(30, 140, 250, y));
            maskPicture.setPixel(x, y, isKept(x, y) ? qRgba(0, 0, 0, 255) : 0U);
        }
    }
    drawToneSteps(canvas, steps, fadePicture, maskPicture);

    const ToneTable table(steps);
    QVERIFY(table.isValid());
    for (int y = 0; y < Values; ++y) {
        const QRgb *const pTones = table.row(y);
        for (int x = 0; x < Values; ++x) {
            const QRgb before = color(x, y);
            QRgb wanted = qRgba(qRed(pTones[qRed(before)]), qGreen(pTones[qGreen(before)]),
                                qBlue(pTones[qBlue(before)]), qAlpha(pTones[qRed(before)]));
            if (isMasked && !isKept(x, y))
                wanted = 0;
            const QRgb actual = canvas.pixel(x, y);
            QVERIFY2(actual == wanted, qPrintable(QStringLiteral("%1, %2: %3, not %4")
                                                      .arg(x)
                                                      .arg(y)
                                                      .arg(actual, 8, 16, QLatin1Char('0'))
                                                      .arg(wanted, 8, 16, QLatin1Char('0'))));
            if (table.isGray() && (!isMasked || isKept(x, y))) {
                const uchar *const pValues = table.tones(y);
                QCOMPARE(qRgba(pValues[qRed(before)], pValues[qGreen(before)],
                               pValues[qBlue(before)], table.alpha(y)),
                         wanted);
            }
        }
        if (table.isIdentity(y))
            QCOMPARE(pTones[77], qRgb(77, 77, 77));
    }
}

void tst_QuickDrawingParts::opaquePixelsAreRoundedAlikeEverywhere_data()
{
    QTest::addColumn<int>("fade");
    QTest::addColumn<bool>("isMasked");

    QTest::newRow("alpha map") << int(sToneSteps::AlphaMapFade) << false;
    QTest::newRow("soft") << int(sToneSteps::SoftFade) << false;
    QTest::newRow("soft, masked") << int(sToneSteps::SoftFade) << true;
}

// The quarters of a border begin and end anywhere in a row; the engine's groups of pixels, too.
void tst_QuickDrawingParts::opaquePixelsAreRoundedAlikeEverywhere()
{
    QFETCH(int, fade);
    QFETCH(bool, isMasked);

    sToneSteps steps;
    steps.m_fade = sToneSteps::eFade(fade);
    steps.m_fadeColor = QColor(0, 1, 254);
    steps.m_isMasked = isMasked;
    const ToneTable table(steps);
    constexpr int Values = 256;
    constexpr int Combinations = Values * Values;
    constexpr int Height = 4096;
    for (int nFirst = 0; nFirst < Combinations;) {
        const int nWidth = 1 + nFirst / Height % 19;
        QImage canvas(nWidth, Height, QImage::Format_ARGB32);
        QImage fadePicture(canvas.size(), QImage::Format_ARGB32);
        QImage maskPicture(canvas.size(), QImage::Format_ARGB32);
        // Neighbours have alphas far from each other.
        const auto number = [&](int x, int y) { return nFirst + y * nWidth + x; };
        const auto value = [&](int x, int y) { return number(x, y) % Combinations / Values; };
        const auto alpha = [&](int x, int y) { return number(x, y) * 89 % Values; };
        for (int y = 0; y < Height; ++y) {
            for (int x = 0; x < nWidth; ++x) {
                const int nValue = value(x, y);
                canvas.setPixel(x, y, qRgb(nValue, nValue, nValue));
                fadePicture.setPixel(x, y, qRgba(0, 1, 254, alpha(x, y)));
                maskPicture.setPixel(x, y, x % 3 == 2 ? 0U : qRgba(0, 0, 0, 255));
            }
        }
        drawToneSteps(canvas, steps, fadePicture, maskPicture);
        for (int y = 0; y < Height; ++y) {
            for (int x = 0; x < nWidth; ++x) {
                const bool isCut = isMasked && x % 3 == 2;
                const QRgb wanted = isCut ? 0U : table.row(alpha(x, y))[value(x, y)];
                QVERIFY2(canvas.pixel(x, y) == wanted,
                         qPrintable(QStringLiteral("width %1, %2, %3").arg(nWidth).arg(x).arg(y)));
            }
        }
        nFirst += Height; // the next, wider one shows most of these again
    }
}

void tst_QuickDrawingParts::everyFormLooksUpTheSame_data()
{
    QTest::addColumn<int>("form");

    QTest::newRow("plain") << int(eToneForm::Plain);
    QTest::newRow("AVX-512 VBMI") << int(eToneForm::Avx512Vbmi);
}

void tst_QuickDrawingParts::everyFormLooksUpTheSame()
{
    QFETCH(int, form);
    if (!isToneFormSupported(eToneForm(form)))
        QSKIP("not on this processor", "");

    QRandomGenerator random(5);
    uchar tones[256];
    for (int nPixels = 0; nPixels < 200; ++nPixels) {
        for (uchar &tone : tones)
            tone = uchar(random.bounded(256));
        const int nAlpha = random.bounded(256);
        constexpr int Behind = 3; // stay as they are
        QVector<QRgb> pixels(nPixels + Behind);
        random.fillRange(pixels.data(), pixels.size());
        const QVector<QRgb> before = pixels;
        lookUpTones(tones, nAlpha, pixels.data(), nPixels, eToneForm(form));
        for (int i = 0; i < pixels.size(); ++i) {
            const QRgb toned = qRgba(tones[qRed(before[i])], tones[qGreen(before[i])],
                                     tones[qBlue(before[i])], nAlpha);
            QCOMPARE(pixels[i], i < nPixels ? toned : before[i]);
        }
    }
}

void tst_QuickDrawingParts::everyFormGathersTheSame_data()
{
    QTest::addColumn<int>("form");

    QTest::newRow("plain") << int(eGatherForm::Plain);
    QTest::newRow("AVX2") << int(eGatherForm::Avx2);
}

// Upscaled, downscaled, mirrored and mixed; from pictures that end right behind their last pixel.
void tst_QuickDrawingParts::everyFormGathersTheSame()
{
    QFETCH(int, form);
    if (!isGatherFormSupported(eGatherForm(form)))
        QSKIP("not on this processor", "");

    QRandomGenerator random(6);
    int nAtOnce = 0;
    for (int i = 0; i < rounds(5000); ++i) {
        const int nPicture = random.bounded(1, 120);
        std::vector<QRgb> picture(size_t(nPicture), 0);
        random.generate(picture.begin(), picture.end());
        std::vector<int> columns(size_t(random.bounded(1, 150)));
        const double scale = random.bounded(1, 40) / 10.0;
        const bool isMirrored = random.bounded(2) == 0;
        for (size_t x = 0; x < columns.size(); ++x) {
            columns[x] = qMin(int(double(x) * scale), nPicture - 1);
            if (random.bounded(300) == 0)
                columns[x] = random.bounded(nPicture);
        }
        if (isMirrored)
            std::reverse(columns.begin(), columns.end());
        const QRgb inverted = random.bounded(2) == 0 ? 0 : 0x00ffffff;
        std::vector<QRgb> row(columns.size() + 1, 7);
        const GatheredColumns gathered(columns, nPicture);
        nAtOnce += int(!gathered.m_windows.empty());
        gathered.gather(picture.data(), inverted, row.data(), eGatherForm(form));
        for (size_t x = 0; x < columns.size(); ++x)
            QCOMPARE(row[x], (picture[size_t(columns[x])] | 0xff000000U) ^ inverted);
        QCOMPARE(row.back(), 7U);
    }
    QVERIFY(nAtOnce > rounds(5000) / 3);
}

void tst_QuickDrawingParts::tablesAreKeptAndForgotten()
{
    ToneTables tables;
    sToneSteps steps;
    steps.m_isOpacityDrawn = true;
    steps.m_nOpacity = 50;
    const ToneTable *const pFirst = &tables.find(steps);
    QCOMPARE(&tables.find(steps), pFirst);
    for (int nOpacity = 0; nOpacity <= 100; ++nOpacity) {
        steps.m_nOpacity = nOpacity;
        QCOMPARE(tables.find(steps).steps().m_nOpacity, nOpacity);
    }
    QVERIFY(tables.m_tables.size() <= 24);
}

void tst_QuickDrawingParts::fadeIsThatOfTheTiles_data()
{
    QTest::addColumn<QSize>("borderSize");

    QTest::newRow("none") << QSize(0, 0);
    QTest::newRow("one pixel") << QSize(1, 1);
    QTest::newRow("a few") << QSize(7, 3);
    QTest::newRow("more than half") << QSize(40, 40);
    QTest::newRow("huge") << QSize(INT_MAX, 1000000);
    QTest::newRow("negative") << QSize(-5, INT_MIN);
}

void tst_QuickDrawingParts::fadeIsThatOfTheTiles()
{
    QFETCH(QSize, borderSize);

    const QColor color(10, 20, 30, 99);
    for (int nWidth = 1; nWidth < 70; nWidth += 3) {
        for (int nHeight = 1; nHeight < 40; nHeight += 2) {
            const QSize half(nWidth - nWidth / 2, nHeight - nHeight / 2);
            const QImage soft = softBorderTile(half, borderSize);
            const QImage halo = haloBorderTile(half, borderSize, color);
            BorderFade softFade(BorderFade::Soft, QSize(nWidth, nHeight), borderSize, 1.0);
            BorderFade haloFade(BorderFade::Halo, QSize(nWidth, nHeight), borderSize,
                                color.alphaF());
            for (int y = 0; y < nHeight; ++y) {
                const int nRow = y < half.height() ? y : 2 * half.height() - 1 - y;
                const uchar *const pSoft = softFade.row(y);
                const uchar *const pHalo = haloFade.row(y);
                for (int x = 0; x < nWidth; ++x) {
                    const int nColumn = x < half.width() ? x : 2 * half.width() - 1 - x;
                    QCOMPARE(int(pSoft[x]), qAlpha(soft.pixel(nColumn, nRow)));
                    QCOMPARE(int(pHalo[x]), qAlpha(halo.pixel(nColumn, nRow)));
                    if (x > softFade.steadyBegin() && x < softFade.steadyEnd())
                        QCOMPARE(pSoft[x], pSoft[x - 1]);
                }
            }
        }
    }
}

QTEST_MAIN(tst_QuickDrawingParts)
#include "tst_quickdrawing_parts.moc"
