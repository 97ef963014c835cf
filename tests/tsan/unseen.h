#ifndef MORVEK_TESTS_TSAN_UNSEEN_H
#define MORVEK_TESTS_TSAN_UNSEEN_H

extern "C" {
// Of ThreadSanitizer's library; its header does not declare them.
void AnnotateIgnoreReadsBegin(const char *pFile, int nLine);
void AnnotateIgnoreReadsEnd(const char *pFile, int nLine);
void AnnotateIgnoreWritesBegin(const char *pFile, int nLine);
void AnnotateIgnoreWritesEnd(const char *pFile, int nLine);
}

namespace Morvek::Tests {

/**
 * While it lives, ThreadSanitizer takes no notice of what this thread reads, writes, allocates and
 * frees. Only for calls in which Qt works on memory of its own, under a lock of its own, and runs no
 * code of ours.
 */
class Unseen
{
public:
    Unseen()
    {
        AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
        AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
    }
    ~Unseen()
    {
        AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
        AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
    }
    Unseen(const Unseen &) = delete;
    Unseen &operator=(const Unseen &) = delete;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_TSAN_UNSEEN_H
