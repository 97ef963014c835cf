// Compiled into every program under ThreadSanitizer, in front of Qt's functions of the same names:
// pictures count, inside Qt, who shares their pixels. What was done with a picture before it was let
// go of happened before whoever was left with the only one frees the pixels or writes to them.

#include "nextfunction.h"

#include <QColor>
#include <QImage>

#include <sanitizer/tsan_interface.h>

using Morvek::Tests::nextFunction;

namespace {

void *pixelsOf(const QImage *pPicture)
{
    return const_cast<QImage *>(pPicture)->data_ptr();
}

// Whoever lets go tells the others, and may be the last, who has been told by all others.
void letGo(const QImage *pPicture)
{
    if (void *const pPixels = pixelsOf(pPicture)) {
        __tsan_release(pPixels);
        __tsan_acquire(pPixels);
    }
}

/*
 * Calls what writes to a picture. Where its pixels are shared, Qt first copies them and lets go of
 * them, unseen; so they are kept here until that is done.
 */
template <typename Write>
auto annotatedWrite(const QImage *pPicture, Write write)
{
    if (pPicture->isDetached())
        return write();
    const QImage kept(*pPicture);
    return write();
}

} // namespace

// A destructor cannot be given a body that leaves its members alone; so these are functions with the
// destructor's symbols, which Qt makes the same as well.
__attribute__((visibility("default"))) void destroyPicture(QImage *pPicture) asm("_ZN6QImageD1Ev");
__attribute__((visibility("default"))) void
destroyBasePicture(QImage *pPicture) asm("_ZN6QImageD2Ev");

void destroyPicture(QImage *pPicture)
{
    static const auto next = nextFunction<void(QImage *)>("_ZN6QImageD1Ev");
    letGo(pPicture);
    next(pPicture);
}

void destroyBasePicture(QImage *pPicture)
{
    destroyPicture(pPicture);
}

QImage &QImage::operator=(const QImage &other)
{
    static const auto next = nextFunction<QImage &(QImage *, const QImage &)>("_ZN6QImageaSERKS_");
    letGo(this);
    return next(this, other);
}

bool QImage::isDetached() const
{
    static const auto next = nextFunction<bool(const QImage *)>("_ZNK6QImage10isDetachedEv");
    const bool isOnlyOne = next(this);
    if (isOnlyOne)
        __tsan_acquire(pixelsOf(this));
    return isOnlyOne;
}

void QImage::invertPixels(InvertMode mode)
{
    static const auto next =
        nextFunction<void(QImage *, InvertMode)>("_ZN6QImage12invertPixelsENS_10InvertModeE");
    annotatedWrite(this, [&] { next(this, mode); });
}

void QImage::fill(const QColor &color)
{
    static const auto next =
        nextFunction<void(QImage *, const QColor &)>("_ZN6QImage4fillERK6QColor");
    annotatedWrite(this, [&] { next(this, color); });
}

uchar *QImage::bits()
{
    static const auto next = nextFunction<uchar *(QImage *)>("_ZN6QImage4bitsEv");
    return annotatedWrite(this, [&] { return next(this); });
}

uchar *QImage::scanLine(int row)
{
    static const auto next = nextFunction<uchar *(QImage *, int)>("_ZN6QImage8scanLineEi");
    return annotatedWrite(this, [&] { return next(this, row); });
}
