#include <inputobserver.h>

#include <QtTest>

using namespace Morvek::Tools;

namespace {

QImage picture(const QColor &color, const QSize &size = QSize(480, 270))
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

/** A look at an input that is all right but for its picture. */
sInputLook lookAt(const QImage &image, qint64 nNowMs)
{
    sInputLook look;
    look.m_nNowMs = nNowMs;
    look.m_isKnown = true;
    look.m_picture = image;
    return look;
}

} // namespace

class tst_InputObserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void blackIsToldFromDark_data();
    void blackIsToldFromDark();
    void aPictureThatChangesIsLive();
    void contentsCountNotTicks();
    void aPictureThatStaysBecomesStaleAndLiveAgain();
    void theFirstPictureMayBeAnOldOne();
    void everyStateIsReachedFromEveryOther();
    void theDeviceModelGoesFirst();
    void whatTheHostAskedForIsNoFault();
    void theFirstPictureAfterNoneIsNoChange();
    void stripesOfTheLibraryAreNoVideo();
    void blackBeforeTheFirstPictureTellsNothing();
    void placeholdersAreNoPictures();
    void theRateIsOfChanges();
};

void tst_InputObserver::blackIsToldFromDark_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<bool>("isExpected");
    QImage dot = picture(Qt::black);
    dot.setPixelColor(240, 135, QColor(40, 0, 0));
    QImage rim = picture(Qt::black);
    rim.setPixelColor(479, 100, Qt::white); // a neighbour's, let in by compression
    QTest::newRow("black") << picture(Qt::black) << true;
    QTest::newRow("black with alpha")
        << picture(Qt::black).convertToFormat(QImage::Format_ARGB32) << true;
    QTest::newRow("black of 24 bits")
        << picture(Qt::black).convertToFormat(QImage::Format_RGB888) << true;
    QTest::newRow("what compression leaves") << picture(QColor(3, 2, 4)) << true;
    QTest::newRow("dark") << picture(QColor(0, 0, 30)) << false;
    QTest::newRow("one dot") << dot << false;
    QTest::newRow("something at the rim") << rim << true;
    QTest::newRow("none") << QImage() << false;
    QTest::newRow("placeholder") << picture(Qt::black, QSize(2, 2)) << true;
}

void tst_InputObserver::blackIsToldFromDark()
{
    QFETCH(QImage, image);
    QFETCH(bool, isExpected);
    QCOMPARE(isBlack(image), isExpected);
}

void tst_InputObserver::aPictureThatChangesIsLive()
{
    InputObserver observer;
    QVERIFY(!observer.look(lookAt(picture(Qt::red), 1000)));
    QVERIFY(observer.look(lookAt(picture(Qt::green), 1100)));
    QCOMPARE(observer.status().m_eState, eInputState::Live);
    QVERIFY(observer.status().m_strBrief.isEmpty());
    QCOMPARE(observer.picture(), picture(Qt::green));
    // The smallest change is one.
    QImage image = picture(Qt::green);
    image.setPixelColor(479, 269, QColor(0, 254, 0));
    QVERIFY(observer.look(lookAt(image, 1200)));
}

/** The library hands out another copy of the same picture at every tick. */
void tst_InputObserver::contentsCountNotTicks()
{
    InputObserver observer;
    observer.look(lookAt(picture(Qt::red), 0));
    QVERIFY(observer.look(lookAt(picture(Qt::green), 40)));
    for (qint64 nNowMs = 80; nNowMs <= 1960; nNowMs += 40) {
        QVERIFY(!observer.look(lookAt(picture(Qt::green), nNowMs)));
        QCOMPARE(observer.status().m_eState, eInputState::Live);
    }
    QVERIFY(!observer.look(lookAt(picture(Qt::green), 2040)));
    QCOMPARE(observer.status().m_eState, eInputState::Stale);
}

void tst_InputObserver::aPictureThatStaysBecomesStaleAndLiveAgain()
{
    InputObserver observer;
    observer.look(lookAt(picture(Qt::red), 0));
    observer.look(lookAt(picture(Qt::green), 1000));
    observer.look(lookAt(picture(Qt::green), 8500));
    QCOMPARE(observer.status().m_eState, eInputState::Stale);
    QCOMPARE(observer.status().m_nUnchangedMs, qint64(7500));
    QCOMPARE(observer.status().m_strBrief, QStringLiteral("same for 7 s"));
    observer.look(lookAt(picture(Qt::blue), 9000));
    QCOMPARE(observer.status().m_eState, eInputState::Live);
    QCOMPARE(observer.status().m_nUnchangedMs, qint64(0));
}

void tst_InputObserver::theFirstPictureMayBeAnOldOne()
{
    InputObserver observer;
    QVERIFY(!observer.look(lookAt(picture(Qt::red), 0)));
    QCOMPARE(observer.status().m_eState, eInputState::Unknown);
    QVERIFY(!observer.look(lookAt(picture(Qt::red), 1999)));
    QCOMPARE(observer.status().m_eState, eInputState::Unknown);
    QVERIFY(!observer.look(lookAt(picture(Qt::red), 2000)));
    QCOMPARE(observer.status().m_eState, eInputState::Stale);
}

void tst_InputObserver::everyStateIsReachedFromEveryOther()
{
    const QList<eInputState> states{eInputState::Unknown, eInputState::NoSignal,
                                    eInputState::Overloaded, eInputState::Live, eInputState::Stale};
    qint64 nNowMs = 0;
    int nPicture = 0;
    InputObserver observer;
    const auto enter = [&](eInputState eState) {
        sInputLook look = lookAt(picture(QColor(200, ++nPicture, 20)), nNowMs += 100);
        if (eState == eInputState::Unknown)
            look.m_isKnown = false;
        if (eState == eInputState::NoSignal)
            look.m_picture = picture(Qt::black);
        look.m_isOverloaded = eState == eInputState::Overloaded;
        observer.look(look);
        if (eState == eInputState::Live) {
            look.m_picture = picture(QColor(100, nPicture, 20));
            look.m_nNowMs = nNowMs += 40;
            observer.look(look);
        }
        if (eState == eInputState::Stale) {
            look.m_nNowMs = nNowMs += 3000;
            observer.look(look);
        }
        return observer.status().m_eState;
    };
    enter(eInputState::NoSignal); // the first look is not like the others
    for (eInputState eFrom : states) {
        for (eInputState eTo : states) {
            QCOMPARE(enter(eFrom), eFrom);
            QCOMPARE(enter(eTo), eTo);
            QVERIFY(!observer.status().m_strReason.isEmpty());
        }
    }
}

void tst_InputObserver::theDeviceModelGoesFirst()
{
    InputObserver observer;
    sInputLook look = lookAt(picture(Qt::red), 0);
    look.m_isActive = false;
    observer.look(look);
    QCOMPARE(observer.status().m_eState, eInputState::NoSignal);
    QCOMPARE(observer.status().m_strBrief, QStringLiteral("not connected"));
    look.m_isOverloaded = true;
    observer.look(look);
    QCOMPARE(observer.status().m_eState, eInputState::Overloaded);
    look.m_eDevice = eDeviceState::Offline; // but of an offline device it is not asked
    observer.look(look);
    QCOMPARE(observer.status().m_eState, eInputState::Unknown);
    QCOMPARE(observer.status().m_strBrief, QStringLiteral("device offline"));
}

void tst_InputObserver::whatTheHostAskedForIsNoFault()
{
    InputObserver observer;
    observer.look(lookAt(picture(Qt::red), 0));
    observer.look(lookAt(picture(Qt::green), 1000));
    sInputLook paused = lookAt(picture(Qt::green), 4000);
    paused.m_eDevice = eDeviceState::Paused;
    observer.look(paused);
    QCOMPARE(observer.status().m_eState, eInputState::Stale);
    QCOMPARE(observer.status().m_strBrief, QStringLiteral("reading paused"));
    QVERIFY(!observer.status().m_strReason.contains(QStringLiteral("hangs")));
    // Nor is what a device's connection has done.
    for (eDeviceState eDevice : {eDeviceState::BackingOff, eDeviceState::Connecting}) {
        paused.m_eDevice = eDevice;
        observer.look(paused);
        QCOMPARE(observer.status().m_eState, eInputState::Stale);
        QCOMPARE(observer.status().m_strBrief, QStringLiteral("no connection"));
    }
    // An ended reader leaves black behind, which is not the device's.
    sInputLook stopped = lookAt(picture(Qt::black), 5000);
    stopped.m_eDevice = eDeviceState::Stopped;
    observer.look(stopped);
    QCOMPARE(observer.status().m_eState, eInputState::Unknown);
    QCOMPARE(observer.status().m_strBrief, QStringLiteral("not read"));
    stopped.m_isActive = false; // which the device model says, read or not
    observer.look(stopped);
    QCOMPARE(observer.status().m_eState, eInputState::NoSignal);
    observer.look(lookAt(picture(Qt::black), 6000));
    QCOMPARE(observer.status().m_strBrief, QStringLiteral("black picture"));
}

/** A reader that begins anew brings the picture of an input that hangs as if it were new. */
void tst_InputObserver::theFirstPictureAfterNoneIsNoChange()
{
    InputObserver observer;
    observer.look(lookAt(picture(Qt::red), 0));
    observer.look(lookAt(picture(Qt::green), 1000));
    QCOMPARE(observer.status().m_eState, eInputState::Live);
    observer.look(lookAt(picture(Qt::black), 2000));
    const double rate = observer.status().m_rate;
    // It is a new picture of the device all the same.
    QVERIFY(observer.look(lookAt(picture(Qt::green), 3000)));
    QCOMPARE(observer.status().m_eState, eInputState::Unknown);
    QVERIFY(observer.status().m_rate <= rate);
    observer.look(lookAt(picture(Qt::green), 5000));
    QCOMPARE(observer.status().m_eState, eInputState::Stale);
    observer.look(lookAt(picture(Qt::blue), 5100));
    QCOMPARE(observer.status().m_eState, eInputState::Live);
}

void tst_InputObserver::stripesOfTheLibraryAreNoVideo()
{
    InputObserver observer;
    observer.look(lookAt(picture(Qt::red), 0));
    sInputLook stripes = lookAt(picture(Qt::green), 1000);
    stripes.m_eDevice = eDeviceState::MadeUp;
    observer.look(stripes);
    QCOMPARE(observer.status().m_eState, eInputState::Unknown);
    QCOMPARE(observer.status().m_strBrief, QStringLiteral("no video"));
}

void tst_InputObserver::blackBeforeTheFirstPictureTellsNothing()
{
    InputObserver observer;
    sInputLook black = lookAt(picture(Qt::black), 0);
    black.m_eDevice = eDeviceState::Connecting;
    observer.look(black);
    QCOMPARE(observer.status().m_eState, eInputState::Unknown);
    QCOMPARE(observer.status().m_strBrief, QStringLiteral("nothing yet"));
    black.m_eDevice = eDeviceState::Streaming;
    observer.look(black);
    QCOMPARE(observer.status().m_eState, eInputState::NoSignal);
}

void tst_InputObserver::placeholdersAreNoPictures()
{
    InputObserver observer;
    sInputLook look = lookAt(picture(QColor(23, 24, 26), QSize(2, 2)), 0);
    look.m_isKnown = false;
    observer.look(look);
    QCOMPARE(observer.status().m_eState, eInputState::Unknown);
    look = lookAt(picture(Qt::black, QSize(2, 2)), 100);
    QVERIFY(!observer.look(look));
    QCOMPARE(observer.status().m_eState, eInputState::NoSignal);
    QVERIFY(observer.look(lookAt(picture(Qt::red), 200)));
    QCOMPARE(observer.status().m_eState, eInputState::Unknown); // nothing to compare it with yet
    QVERIFY(observer.look(lookAt(picture(Qt::green), 240)));
    QCOMPARE(observer.status().m_eState, eInputState::Live);
}

void tst_InputObserver::theRateIsOfChanges()
{
    InputObserver observer;
    // 25 looks a second, of which each second one finds another picture.
    for (int nLook = 0; nLook <= 250; ++nLook)
        observer.look(lookAt(picture(QColor(255, nLook / 2, 0)), nLook * 40));
    QVERIFY(qAbs(observer.status().m_rate - 12.5) < 0.5);
    for (int nLook = 251; nLook <= 400; ++nLook)
        observer.look(lookAt(picture(Qt::red), nLook * 40));
    QCOMPARE(observer.status().m_rate, 0.0);
}

QTEST_GUILESS_MAIN(tst_InputObserver)
#include "tst_inputobserver.moc"
