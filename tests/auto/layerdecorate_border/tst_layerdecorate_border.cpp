// Which borders are drawn, and the solid one pixel by pixel.

#include "logcapture.h"
#include "picturecompare.h"
#include "testlayers.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <QObject>
#include <QtTest>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Enum::Layer::BorderType;

namespace {

// Red, with green from the first to the second rectangle.
QImage framed(const QSize &size, const QRect &outer, const QRect &inner)
{
    QImage picture = solidPicture(size, Qt::red);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            if (outer.contains(x, y) && !inner.contains(x, y))
                picture.setPixelColor(x, y, Qt::green);
        }
    }
    return picture;
}

} // namespace

Q_DECLARE_METATYPE(QPainter::CompositionMode)

class tst_LayerDecorateBorder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyTypeDrawsItsOwnBorderOrNone_data();
    void everyTypeDrawsItsOwnBorderOrNone();
    void alphaMapForbidsEveryBorder_data();
    void alphaMapForbidsEveryBorder();

    void solidBorderLiesInsideTheLayersEdges_data();
    void solidBorderLiesInsideTheLayersEdges();
    void solidBorderIsBlendedInItsAlpha();
    void solidBorderThickerThanTheLayer_data();
    void solidBorderThickerThanTheLayer();

    void borderThatCannotBeMadeIsLeftOut_data();
    void borderThatCannotBeMadeIsLeftOut();
    void compositionModeIsLeftAsAgreed_data();
    void compositionModeIsLeftAsAgreed();
    void solidAndHaloUseThePaintersMode_data();
    void solidAndHaloUseThePaintersMode();
};

void tst_LayerDecorateBorder::everyTypeDrawsItsOwnBorderOrNone_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<Drawing>("drawing");

    const Drawing none = nullptr;
    QTest::newRow("hard, inside") << int(BorderType::Hard_in)
                                  << Drawing(&LayerVideoManager::drawSolidBorder);
    QTest::newRow("hard, outside") << int(BorderType::Hard_out) << none;
    QTest::newRow("hard, both sides") << int(BorderType::Hard_in_out) << none;
    QTest::newRow("soft") << int(BorderType::Soft) << Drawing(&LayerVideoManager::drawSoftBorder);
    QTest::newRow("halo, both sides") << int(BorderType::Halo) << none;
    QTest::newRow("halo, inside") << int(BorderType::Halo_in)
                                  << Drawing(&LayerVideoManager::drawHaloInBorder);
    QTest::newRow("halo, outside") << int(BorderType::Halo_out) << none;
    QTest::newRow("no valid type") << int(BorderType::Invalid) << none;
    QTest::newRow("unknown type") << 99 << none;
}

void tst_LayerDecorateBorder::everyTypeDrawsItsOwnBorderOrNone()
{
    QFETCH(int, type);
    QFETCH(Drawing, drawing);

    const QImage picture = gradientPicture(QSize(20, 16), 0, QImage::Format_ARGB32);
    const sLayerVideoConfig cfg = borderedLayer({0, 0, 20, 16}, BorderType(type), QSize(4, 3));
    const QImage canvas = drawn(&LayerVideoManager::drawBorder, picture, cfg);
    COMPARE_PICTURES(canvas, drawing ? drawn(drawing, picture, cfg) : picture);
    QCOMPARE(canvas != picture, drawing != nullptr);
}

void tst_LayerDecorateBorder::alphaMapForbidsEveryBorder_data()
{
    QTest::addColumn<int>("type");

    for (int nType = BorderType::Hard_in; nType <= BorderType::Invalid; ++nType)
        QTest::addRow("type %d", nType) << nType;
}

void tst_LayerDecorateBorder::alphaMapForbidsEveryBorder()
{
    QFETCH(int, type);

    sLayerVideoConfig cfg = borderedLayer({0, 0, 20, 16}, BorderType(type), QSize(4, 3));
    cfg.m_LayerAlphaMap.m_strAlphaMapFile = QStringLiteral("nowhere.png");
    const QImage picture = solidPicture(QSize(20, 16), Qt::red);
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawBorder, picture, cfg), picture);
}

void tst_LayerDecorateBorder::solidBorderLiesInsideTheLayersEdges_data()
{
    QTest::addColumn<QRectF>("rect");
    QTest::addColumn<QSize>("thickness");
    QTest::addColumn<QRect>("outer");
    QTest::addColumn<QRect>("inner");

    // On a canvas of 20 x 16
    QTest::newRow("sides wider than top and bottom")
        << QRectF(0, 0, 20, 16) << QSize(3, 2) << QRect(0, 0, 20, 16) << QRect(3, 2, 14, 12);
    QTest::newRow("top and bottom only")
        << QRectF(0, 0, 20, 16) << QSize(0, 2) << QRect(0, 0, 20, 16) << QRect(0, 2, 20, 12);
    QTest::newRow("no thickness") << QRectF(0, 0, 20, 16) << QSize(0, 0) << QRect(0, 0, 20, 16)
                                  << QRect(0, 0, 20, 16);
    QTest::newRow("half the layer")
        << QRectF(0, 0, 20, 16) << QSize(10, 8) << QRect(0, 0, 20, 16) << QRect();
    QTest::newRow("off the origin")
        << QRectF(5, 4, 10, 9) << QSize(2, 1) << QRect(5, 4, 10, 9) << QRect(7, 5, 6, 7);
    QTest::newRow("partly off the canvas")
        << QRectF(5, -3, 20, 16) << QSize(2, 4) << QRect(5, 0, 15, 13) << QRect(7, 1, 13, 8);
    QTest::newRow("edges rounded, halves upward")
        << QRectF(0.5, 0.4, 18, 15) << QSize(3, 2) << QRect(1, 0, 18, 15) << QRect(4, 2, 12, 11);
}

void tst_LayerDecorateBorder::solidBorderLiesInsideTheLayersEdges()
{
    QFETCH(QRectF, rect);
    QFETCH(QSize, thickness);
    QFETCH(QRect, outer);
    QFETCH(QRect, inner);

    const QSize size(20, 16);
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawSolidBorder, solidPicture(size, Qt::red),
                           borderedLayer(rect, BorderType::Hard_in, thickness)),
                     framed(size, outer, inner));
}

void tst_LayerDecorateBorder::solidBorderIsBlendedInItsAlpha()
{
    const sLayerVideoConfig cfg = borderedLayer({0, 0, 20, 16}, BorderType::Hard_in, QSize(3, 2),
                                                QColor(0, 255, 0, 51)); // a fifth
    const QImage canvas =
        drawn(&LayerVideoManager::drawSolidBorder, solidPicture(QSize(20, 16), Qt::red), cfg);
    QCOMPARE(canvas.pixelColor(1, 8), QColor(204, 51, 0));
    QCOMPARE(canvas.pixelColor(2, 1), QColor(204, 51, 0)); // once, also in the corners
    QCOMPARE(canvas.pixelColor(10, 8), QColor(Qt::red));
}

// Beyond half of the layer the inner rectangle turns round; what lies in both is left out.
void tst_LayerDecorateBorder::solidBorderThickerThanTheLayer_data()
{
    QTest::addColumn<QSize>("thickness");
    QTest::addColumn<QRect>("hole");

    QTest::newRow("overlapping by four columns") << QSize(12, 2) << QRect(8, 2, 4, 12);
    QTest::newRow("overlapping by two rows") << QSize(3, 9) << QRect(3, 7, 14, 2);
    QTest::newRow("as wide as the layer") << QSize(20, 2) << QRect(0, 2, 20, 12);
}

void tst_LayerDecorateBorder::solidBorderThickerThanTheLayer()
{
    QFETCH(QSize, thickness);
    QFETCH(QRect, hole);

    const QSize size(20, 16);
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawSolidBorder, solidPicture(size, Qt::red),
                           borderedLayer({0, 0, 20, 16}, BorderType::Hard_in, thickness)),
                     framed(size, QRect(0, 0, 20, 16), hole));
}

void tst_LayerDecorateBorder::borderThatCannotBeMadeIsLeftOut_data()
{
    QTest::addColumn<Drawing>("drawing");
    QTest::addColumn<QRectF>("rect");

    const Drawing drawings[] = {&LayerVideoManager::drawSoftBorder,
                                &LayerVideoManager::drawHaloInBorder};
    for (const Drawing drawing : drawings) {
        const char *const pName = drawing == drawings[0] ? "soft" : "halo";
        QTest::addRow("%s, empty layer", pName) << drawing << QRectF(0, 0, 0, 0);
        QTest::addRow("%s, negative layer", pName) << drawing << QRectF(0, 0, -8, -8);
        QTest::addRow("%s, wider than a picture", pName) << drawing << QRectF(0, 0, 2e8, 8);
        QTest::addRow("%s, wider than a number", pName) << drawing << QRectF(0, 0, 1e20, 1e20);
    }
}

void tst_LayerDecorateBorder::borderThatCannotBeMadeIsLeftOut()
{
    QFETCH(Drawing, drawing);
    QFETCH(QRectF, rect);

    const QImage picture = gradientPicture(QSize(8, 8), 0, QImage::Format_ARGB32);
    LogCapture log;
    COMPARE_PICTURES(drawn(drawing, picture, borderedLayer(rect, BorderType::Soft, QSize(2, 2))),
                     picture);
    QCOMPARE(log.lines().size(), 0);
}

void tst_LayerDecorateBorder::compositionModeIsLeftAsAgreed_data()
{
    QTest::addColumn<Drawing>("drawing");
    QTest::addColumn<QPainter::CompositionMode>("before");
    QTest::addColumn<QPainter::CompositionMode>("after");

    const auto over = QPainter::CompositionMode_SourceOver;
    const auto plus = QPainter::CompositionMode_Plus;
    QTest::newRow("solid") << Drawing(&LayerVideoManager::drawSolidBorder) << over << over;
    QTest::newRow("solid never changes it")
        << Drawing(&LayerVideoManager::drawSolidBorder) << plus << plus;
    QTest::newRow("soft") << Drawing(&LayerVideoManager::drawSoftBorder) << over << over;
    QTest::newRow("soft ends with drawing over")
        << Drawing(&LayerVideoManager::drawSoftBorder) << plus << over;
    QTest::newRow("halo") << Drawing(&LayerVideoManager::drawHaloInBorder) << over << over;
    QTest::newRow("halo never changes it")
        << Drawing(&LayerVideoManager::drawHaloInBorder) << plus << plus;
}

void tst_LayerDecorateBorder::compositionModeIsLeftAsAgreed()
{
    QFETCH(Drawing, drawing);
    QFETCH(QPainter::CompositionMode, before);
    QFETCH(QPainter::CompositionMode, after);

    const LayerVideoManager manager({});
    // Also where there is nothing to draw.
    for (const QRectF &rect : {QRectF(0, 0, 8, 8), QRectF(0, 0, 0, 0)}) {
        QImage canvas = solidPicture(QSize(8, 8), Qt::red);
        QPainter painter(&canvas);
        painter.setCompositionMode(before);
        painter.setBrush(Qt::blue);
        (manager.*drawing)(&painter, borderedLayer(rect, BorderType::Soft, QSize(2, 2)));
        QCOMPARE(painter.compositionMode(), after);
        QCOMPARE(painter.brush(), QBrush(Qt::blue));
    }
}

void tst_LayerDecorateBorder::solidAndHaloUseThePaintersMode_data()
{
    QTest::addColumn<Drawing>("drawing");

    QTest::newRow("solid") << Drawing(&LayerVideoManager::drawSolidBorder);
    QTest::newRow("halo") << Drawing(&LayerVideoManager::drawHaloInBorder);
}

void tst_LayerDecorateBorder::solidAndHaloUseThePaintersMode()
{
    QFETCH(Drawing, drawing);

    const LayerVideoManager manager({});
    QImage canvas = solidPicture(QSize(8, 8), Qt::red);
    QPainter painter(&canvas);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOver); // behind what is there
    (manager.*drawing)(&painter, borderedLayer({0, 0, 8, 8}, BorderType::Halo_in, QSize(2, 2)));
    painter.end();
    COMPARE_PICTURES(canvas, solidPicture(QSize(8, 8), Qt::red));
}

QTEST_GUILESS_MAIN(tst_LayerDecorateBorder)
#include "tst_layerdecorate_border.moc"
