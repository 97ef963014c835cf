// A picture is renewed on one thread and read on another, as those of the service are. There is a
// lock for it, and its first renewal is announced in an orderly way; but then it is read without the
// lock.
//
// planted_race std|qt   whose thread, lock and announcement

#include <QCoreApplication>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace {

constexpr auto Unordered = std::memory_order_relaxed;

int nPixel = 0;                // the picture
std::atomic_int nStepTaken{0}; // the step that was taken last; orders nothing else

__attribute__((noinline)) void renewPicture(int nValue)
{
    nPixel = nValue;
}

__attribute__((noinline)) int readWithoutLock()
{
    return nPixel;
}

void waitFor(int nStep)
{
    while (nStepTaken.load(Unordered) < nStep)
        std::this_thread::yield();
}

int readFromStdThread()
{
    std::mutex mutex;
    std::condition_variable announced;
    bool isAnnounced = false;
    std::thread reader([&] {
        {
            const std::lock_guard<std::mutex> locker(mutex);
            renewPicture(1);
            isAnnounced = true;
            announced.notify_all();
        }
        waitFor(1);
        {
            const std::lock_guard<std::mutex> locker(mutex);
            renewPicture(2);
        }
        nStepTaken.store(2, Unordered);
    });
    {
        std::unique_lock<std::mutex> locker(mutex);
        announced.wait(locker, [&] { return isAnnounced; });
    }
    nStepTaken.store(1, Unordered);
    waitFor(2);
    const int nRead = readWithoutLock();
    reader.join();
    return nRead;
}

class Reader : public QThread
{
    Q_OBJECT

Q_SIGNALS:
    void pictureRenewed();

protected:
    void run() override
    {
        renewLocked(1);
        Q_EMIT pictureRenewed();
        waitFor(1);
        renewLocked(2);
        nStepTaken.store(2, Unordered);
    }

private:
    void renewLocked(int nValue)
    {
        QMutexLocker locker(&m_mutex);
        renewPicture(nValue);
    }

    QMutex m_mutex;
};

int readFromQtThread(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    Reader reader;
    QObject::connect(&reader, &Reader::pictureRenewed, &application, [] {
        nStepTaken.store(1, Unordered);
        QCoreApplication::quit();
    });
    reader.start();
    QCoreApplication::exec();
    waitFor(2);
    const int nRead = readWithoutLock();
    reader.wait();
    return nRead;
}

} // namespace

int main(int argc, char **argv)
{
    const std::string kind = argc == 2 ? argv[1] : "";
    const int nRead = kind == "std" ? readFromStdThread() : readFromQtThread(argc, argv);
    return nRead == 2 ? 0 : 1;
}

#include "planted_race.moc"
