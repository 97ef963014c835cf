#ifndef MORVEK_TESTS_PICTURECOMPARE_H
#define MORVEK_TESTS_PICTURECOMPARE_H

#include <QImage>
#include <QString>
#include <QtTest>

namespace Morvek::Tests {

/**
 * Compares two pictures pixel by pixel, in size and straight ARGB32 values (format may differ).
 *
 * @param nTolerance  largest difference of a channel that counts as equal
 * @return empty when equal; else what differs, with the first differing pixel, both pictures having
 *         been saved as PNG into the system's folder for temporary files
 */
QString pictureDifference(const QImage &actual, const QImage &expected, int nTolerance = 0);

/** The mean of the absolute differences of all colour channels; 255 for different sizes. */
double meanDifference(const QImage &left, const QImage &right);

} // namespace Morvek::Tests

/** Ends the test function with a failure when two pictures differ in any pixel. */
#define COMPARE_PICTURES(actual, expected) \
    do { \
        const QString strDifference = Morvek::Tests::pictureDifference((actual), (expected)); \
        QVERIFY2(strDifference.isEmpty(), qPrintable(strDifference)); \
    } while (false)

#endif // MORVEK_TESTS_PICTURECOMPARE_H
