// Memory of previews that nobody looks at any more, and only of those.

#include "testpictures.h"

#include <canvaspool_p.h>

#include <QObject>
#include <QtTest>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

constexpr QSize Size(8, 6);

QImage preview(const QSize &size = Size)
{
    return solidPicture(size, Qt::red);
}

} // namespace

class tst_CanvasPool : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void previewThatNobodyHoldsIsUsedAgain();
    void previewThatSomebodyHoldsIsNot();
    void onlyCanvasesOfTheSizeAndFormat();
    void sparesAreFew();
    void sparesAreGivenBack();
    void previewsAreNotKeptForEver();
};

void tst_CanvasPool::previewThatNobodyHoldsIsUsedAgain()
{
    CanvasPool pool;
    QVERIFY(pool.take(Size).isNull());
    QImage shown = preview();
    const uchar *const pPixels = shown.constBits();
    pool.add(shown);
    shown = QImage();
    QImage canvas = pool.take(Size);
    QCOMPARE(canvas.constBits(), pPixels);
    QVERIFY(canvas.isDetached());
    QVERIFY(pool.take(Size).isNull());
}

void tst_CanvasPool::previewThatSomebodyHoldsIsNot()
{
    CanvasPool pool;
    const QImage shown = preview();
    pool.add(shown);
    const QImage canvas = pool.take(Size);
    QVERIFY(canvas.isNull());
    QCOMPARE(shown, preview());
}

void tst_CanvasPool::onlyCanvasesOfTheSizeAndFormat()
{
    CanvasPool pool;
    pool.add(preview(QSize(8, 7)));
    pool.add(preview().convertToFormat(QImage::Format_RGB32));
    pool.add(QImage());
    QVERIFY(pool.take(Size).isNull());
    QVERIFY(pool.take(QSize()).isNull());
    QCOMPARE(pool.take(QSize(8, 7)).size(), QSize(8, 7));
}

void tst_CanvasPool::sparesAreFew()
{
    CanvasPool pool;
    QList<QImage> shown;
    for (int i = 0; i < 20; ++i) {
        shown.append(preview());
        pool.add(shown.last());
    }
    QCOMPARE(pool.m_previews.size(), size_t(20)); // in sight, while they are shown
    shown.clear();
    const QImage one = preview();
    pool.add(one);
    QCOMPARE(pool.m_previews.size(), size_t(1 + CanvasPool::MostSpares));
    QVERIFY(!pool.take(Size).isNull());
}

void tst_CanvasPool::sparesAreGivenBack()
{
    CanvasPool pool;
    const QImage shown = preview();
    pool.add(shown);
    pool.add(preview());
    pool.add(preview());
    pool.trim(1);
    QCOMPARE(pool.m_previews.size(), size_t(2));
    pool.trim(0);
    QCOMPARE(pool.m_previews.size(), size_t(1));
    QCOMPARE(shown, preview());
}

void tst_CanvasPool::previewsAreNotKeptForEver()
{
    CanvasPool pool;
    QList<QImage> shown;
    for (int i = 0; i < 5000; ++i) {
        shown.append(preview(QSize(1, 1)));
        pool.add(shown.last());
    }
    QVERIFY(pool.m_previews.size() <= 4096);
}

QTEST_MAIN(tst_CanvasPool)
#include "tst_canvaspool.moc"
