// Included before everything else under ThreadSanitizer. Qt looks at a reference count without
// order to see whether it holds the only reference, and then changes or frees what is shared. That
// is safe, since whoever let go of the other reference did so in order, but only an ordered look
// tells ThreadSanitizer so.

#ifndef MORVEK_TESTS_TSAN_SHARING_H
#define MORVEK_TESTS_TSAN_SHARING_H

#if defined(__cplusplus) && __has_include(<QtCore/qrefcount.h>)
#    include <QtCore/qatomic.h>
#    define loadRelaxed loadAcquire
#    include <QtCore/qrefcount.h>
#    include <QtCore/qshareddata.h>
#    undef loadRelaxed
#endif

#endif // MORVEK_TESTS_TSAN_SHARING_H
