#ifndef MORVEK_TESTS_RECORDINGREADER_H
#define MORVEK_TESTS_RECORDINGREADER_H

#include <device.h>
#include <pixmapreader_p.h>

#include <QImage>
#include <QString>
#include <QStringList>

#include <memory>

namespace Morvek::Tests {

/**
 * A reader without a thread, which keeps what it was told; isPaused() answers for pauseRead(). For
 * tests that may look at private members.
 */
class RecordingReader : public Morvek::EchoVideo::Internal::Reader
{
public:
    RecordingReader(QImage &image, const std::weak_ptr<Morvek::BizModel::Device> &wDevice)
        : Reader(image)
    {
        setDevice(wDevice);
    }

    void restartRead(std::weak_ptr<Morvek::BizModel::Device> wDevice) override
    {
        m_calls.append(QStringLiteral("restart"));
        setDevice(wDevice);
        m_isPauseRead = false;
    }
    void stopRead() override { m_calls.append(QStringLiteral("stop")); }

    QStringList m_calls;

protected:
    void startRead() override { m_calls.append(QStringLiteral("start")); }
    void readTask() override {}
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_RECORDINGREADER_H
