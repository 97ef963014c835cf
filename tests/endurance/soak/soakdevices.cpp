#include "soakdevices.h"

#include <QCoreApplication>

#include <cstdio>

namespace Morvek::Tests {

namespace {

constexpr int Patience = 30000; // ms

} // namespace

DeviceProcess::DeviceProcess(const QStringList &arguments)
    : m_arguments(arguments)
{}

DeviceProcess::~DeviceProcess()
{
    kill();
}

bool DeviceProcess::start()
{
    m_pProcess = std::make_unique<QProcess>();
    m_pProcess->setProcessChannelMode(QProcess::SeparateChannels);
    m_pProcess->setStandardErrorFile(QProcess::nullDevice());
    m_pProcess->start(QStringLiteral(ECHODEVICE_PROGRAM), m_arguments);
    while (!m_pProcess->canReadLine()) {
        if (!m_pProcess->waitForReadyRead(Patience))
            return false;
    }
    const QByteArray line = m_pProcess->readLine();
    if (m_nPort == 0 && line.startsWith("listening on")) {
        m_nPort = line.mid(line.lastIndexOf(':') + 1).trimmed().toUShort();
        m_arguments << QStringLiteral("--port") << QString::number(m_nPort);
    }
    return true;
}

void DeviceProcess::kill()
{
    if (!m_pProcess)
        return;
    m_pProcess->kill();
    m_pProcess->waitForFinished(Patience);
    m_pProcess.reset();
}

SoakDevices::SoakDevices()
{
    qputenv("MORVEK_SHM_CAP_NAME",
            "/morvek_soak_" + QByteArray::number(QCoreApplication::applicationPid()));
    const QStringList tiles{QStringLiteral("--tiles"), QStringLiteral("16")};
    m_streams.push_back(std::make_unique<DeviceProcess>(tiles));
    m_streams.push_back(std::make_unique<DeviceProcess>(
        tiles + QStringList{QStringLiteral("--scenario"), QStringLiteral(SOAK_SCENARIO)}));
    m_pCapture = std::make_unique<DeviceProcess>(tiles + QStringList{QStringLiteral("--shm")});
}

bool SoakDevices::start()
{
    const bool isStarted =
        m_streams[0]->start() && m_streams[1]->start() && m_pCapture->start() && writeFile();
    if (!isStarted)
        std::fprintf(stderr, "the simulated devices did not start\n");
    return isStarted;
}

bool SoakDevices::writeFile() const
{
    return QProcess::execute(QStringLiteral(ECHODEVICE_PROGRAM),
                             {QStringLiteral("--tiles"), QStringLiteral("16"),
                              QStringLiteral("--yuv"), filePath(), QStringLiteral("--frames"),
                              QStringLiteral("12")})
        == 0;
}

} // namespace Morvek::Tests
