#include <layerdrag.h>
#include <plotwidget.h>
#include <snapshots.h>
#include <statelook.h>

#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <limits>

using namespace Morvek::Tools;

class tst_WindowParts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void handlesAreFoundWhereTheyAreDrawn();
    void movesByTheWayOfTheMouse();
    void resizesByEdges_data();
    void resizesByEdges();
    void keepsTheShapeAtACorner();
    void statesDifferBySignAndWordAndAreLegible();
    void axesEndAtRoundNumbers();
    void snapshotsNeverReplaceEachOther();
};

void tst_WindowParts::handlesAreFoundWhereTheyAreDrawn()
{
    const QRect rect(100, 100, 200, 100);
    const QList<Qt::Edges> handles = allHandles();
    QCOMPARE(handles.size(), 8);
    for (Qt::Edges edges : handles)
        QCOMPARE(edgesAt(rect, handleRect(rect, edges).center()), edges);
    QCOMPARE(edgesAt(rect, rect.center()), Qt::Edges());
    QCOMPARE(edgesAt(rect, QPoint(50, 50)), Qt::Edges());
    QCOMPARE(cursorOf({}), Qt::SizeAllCursor);
    QCOMPARE(cursorOf(Qt::LeftEdge), Qt::SizeHorCursor);
    QCOMPARE(cursorOf(Qt::TopEdge | Qt::RightEdge), Qt::SizeBDiagCursor);
}

void tst_WindowParts::movesByTheWayOfTheMouse()
{
    LayerDrag drag(QRect(10, 20, 30, 40), {}, QPointF(15, 25));
    QCOMPARE(drag.rectAt(QPointF(15, 25)), QRect(10, 20, 30, 40));
    QCOMPARE(drag.rectAt(QPointF(115.4, 24.6)), QRect(110, 20, 30, 40));
    QCOMPARE(drag.startRect(), QRect(10, 20, 30, 40));
    QVERIFY(drag.takeFirst());
    QVERIFY(!drag.takeFirst());
}

void tst_WindowParts::resizesByEdges_data()
{
    QTest::addColumn<int>("nEdges");
    QTest::addColumn<QPointF>("way");
    QTest::addColumn<QRect>("expected");
    QTest::newRow("left") << int(Qt::LeftEdge) << QPointF(5, 9) << QRect(15, 20, 25, 40);
    QTest::newRow("right") << int(Qt::RightEdge) << QPointF(5, 9) << QRect(10, 20, 35, 40);
    QTest::newRow("top") << int(Qt::TopEdge) << QPointF(5, 9) << QRect(10, 29, 30, 31);
    QTest::newRow("bottom") << int(Qt::BottomEdge) << QPointF(5, 9) << QRect(10, 20, 30, 49);
    QTest::newRow("corner") << int(Qt::BottomEdge | Qt::RightEdge) << QPointF(-5, -9)
                            << QRect(10, 20, 25, 31);
    QTest::newRow("never below a pixel")
        << int(Qt::TopEdge | Qt::LeftEdge) << QPointF(500, 500) << QRect(39, 59, 1, 1);
    QTest::newRow("never beyond the other edge")
        << int(Qt::RightEdge) << QPointF(-500, 0) << QRect(10, 20, 1, 40);
}

void tst_WindowParts::resizesByEdges()
{
    QFETCH(int, nEdges);
    QFETCH(QPointF, way);
    QFETCH(QRect, expected);
    const LayerDrag drag(QRect(10, 20, 30, 40), Qt::Edges(nEdges), QPointF(3, 3));
    QCOMPARE(drag.rectAt(QPointF(3, 3) + way), expected);
}

void tst_WindowParts::keepsTheShapeAtACorner()
{
    const QRect rect(100, 200, 160, 90);
    const LayerDrag bottomRight(rect, Qt::BottomEdge | Qt::RightEdge, QPointF(0, 0));
    QCOMPARE(bottomRight.rectAt(QPointF(160, 10), true), QRect(100, 200, 320, 180));
    QCOMPARE(bottomRight.rectAt(QPointF(-80, -70), true), QRect(100, 200, 80, 45));
    QCOMPARE(bottomRight.rectAt(QPointF(-900, -900), true), QRect(100, 200, 2, 1));
    QCOMPARE(bottomRight.rectAt(QPointF(160, 10)), QRect(100, 200, 320, 100));
    const LayerDrag topLeft(rect, Qt::TopEdge | Qt::LeftEdge, QPointF(0, 0));
    QCOMPARE(topLeft.rectAt(QPointF(0, -90), true), QRect(-60, 110, 320, 180));
    const LayerDrag topRight(rect, Qt::TopEdge | Qt::RightEdge, QPointF(0, 0));
    QCOMPARE(topRight.rectAt(QPointF(160, 0), true), QRect(100, 110, 320, 180));
    // A side has no other length to go by.
    const LayerDrag right(rect, Qt::RightEdge, QPointF(0, 0));
    QCOMPARE(right.rectAt(QPointF(160, 0), true), QRect(100, 200, 320, 90));
}

void tst_WindowParts::statesDifferBySignAndWordAndAreLegible()
{
    QPalette light(QColor(239, 239, 239));
    QPalette dark(QColor(40, 40, 40));
    QVERIFY(!isDark(light));
    QVERIFY(isDark(dark));
    for (const QPalette &palette : {light, dark}) {
        QSet<QString> signs;
        QSet<QString> words;
        for (eInputState eState :
             {eInputState::Unknown, eInputState::NoSignal, eInputState::Overloaded,
              eInputState::Live, eInputState::Stale}) {
            const sStateLook look = lookOf(eState, palette);
            signs.insert(look.m_strSign);
            words.insert(look.m_strWord);
            const int nContrast =
                qAbs(qGray(look.m_color.rgb()) - qGray(palette.color(QPalette::Window).rgb()));
            QVERIFY2(nContrast > 90, qPrintable(look.m_strWord));
        }
        QCOMPARE(signs.size(), 5);
        QCOMPARE(words.size(), 5);
        words.clear();
        for (eDeviceState eState :
             {eDeviceState::Offline, eDeviceState::Stopped, eDeviceState::Paused,
              eDeviceState::Connecting, eDeviceState::Streaming, eDeviceState::Silent,
              eDeviceState::BackingOff}) {
            sDeviceStatus status;
            status.m_eState = eState;
            status.m_nSecondsLeft = 42;
            words.insert(lookOf(status, palette).m_strWord);
        }
        QCOMPARE(words.size(), 7);
        QVERIFY(words.contains(QStringLiteral("no connection, retry in 42 s")));
    }
}

void tst_WindowParts::axesEndAtRoundNumbers()
{
    const double none = std::numeric_limits<double>::quiet_NaN();
    QCOMPARE(PlotWidget::axisEnd({}, 10), 10.0);
    QCOMPARE(PlotWidget::axisEnd({none, 3, 11}, 10), 20.0);
    QCOMPARE(PlotWidget::axisEnd({420}, 10), 500.0);
    QCOMPARE(PlotWidget::axisEnd({501}, 10), 1000.0);
}

void tst_WindowParts::snapshotsNeverReplaceEachOther()
{
    const QTemporaryDir folder;
    const QString strFolder = folder.filePath(QStringLiteral("deep/er"));
    QImage picture(4, 4, QImage::Format_RGB32);
    picture.fill(Qt::red);
    QSet<QString> files;
    for (int nPicture = 0; nPicture < 5; ++nPicture) {
        const sSnapshot snapshot = writeSnapshot(strFolder, QStringLiteral("A / layer"), picture);
        QCOMPARE(snapshot.m_strError, QString());
        QVERIFY(QFileInfo::exists(snapshot.m_strFile));
        QVERIFY(snapshot.m_strFile.contains(QStringLiteral("-a-layer")));
        files.insert(snapshot.m_strFile);
    }
    QCOMPARE(files.size(), 5);
    QVERIFY(writeSnapshot(strFolder, QStringLiteral("x"), QImage())
                .m_strError.contains(QStringLiteral("no picture")));
    QVERIFY(writeSnapshot(*files.begin() + QStringLiteral("/x"), QStringLiteral("x"), picture)
                .m_strError.contains(QStringLiteral("cannot make")));
}

QTEST_MAIN(tst_WindowParts)
#include "tst_windowparts.moc"
