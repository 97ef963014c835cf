#ifndef MORVEK_TESTS_SOAKDEVICES_H
#define MORVEK_TESTS_SOAKDEVICES_H

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <vector>

namespace Morvek::Tests {

/** A simulated device in a process of its own, so that its memory is not counted with ours. */
class DeviceProcess
{
public:
    /** @param arguments  what the program is started with, each time */
    explicit DeviceProcess(const QStringList &arguments);
    ~DeviceProcess();

    /** Starts it and waits until it says where its pictures go; false if it does not. */
    bool start();
    /** Ends it where it stands. */
    void kill();
    /** The port it said at its first start; it keeps that. */
    quint16 port() const { return m_nPort; }

private:
    Q_DISABLE_COPY(DeviceProcess)

    QStringList m_arguments;
    quint16 m_nPort = 0;
    std::unique_ptr<QProcess> m_pProcess;
};

/** Everything that pictures come from: two streams, a capture and a file. */
class SoakDevices
{
public:
    SoakDevices();

    /** Starts all; false, with a message on standard error, if one does not. */
    bool start();
    /** The first or the second stream. */
    DeviceProcess &stream(int nStream) { return *m_streams[std::size_t(nStream)]; }
    DeviceProcess &capture() { return *m_pCapture; }
    QString filePath() const { return m_folder.filePath(QStringLiteral("frames.yuv")); }

private:
    Q_DISABLE_COPY(SoakDevices)

    bool writeFile() const;

    QTemporaryDir m_folder;
    std::vector<std::unique_ptr<DeviceProcess>> m_streams;
    std::unique_ptr<DeviceProcess> m_pCapture;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_SOAKDEVICES_H
