#include "devicesummary.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace Morvek::Tools {

namespace {

QByteArray jsonText(const sDeviceSummary &summary)
{
    const QJsonObject object{
        {"picturesMade", summary.m_nPicturesMade},
        {"picturesSent", summary.m_nPicturesSent},
        {"picturesSkipped", summary.m_nPicturesSkipped},
        {"clients", summary.m_nClients},
        {"bytesSent", summary.m_nBytesSent},
        {"faultsPlayed", summary.m_nFaultsPlayed},
        {"durationMs", summary.m_nDurationMs},
    };
    return QJsonDocument(object).toJson();
}

QByteArray plainText(const sDeviceSummary &summary)
{
    const QString strFaults = QStringLiteral("; played %1 faults").arg(summary.m_nFaultsPlayed);
    return QStringLiteral("made %1 pictures in %2 s; sent %3 and skipped %4 of them "
                          "to %5 clients (%6 MB)%7\n")
        .arg(summary.m_nPicturesMade)
        .arg(double(summary.m_nDurationMs) / 1000, 0, 'f', 1)
        .arg(summary.m_nPicturesSent)
        .arg(summary.m_nPicturesSkipped)
        .arg(summary.m_nClients)
        .arg(double(summary.m_nBytesSent) / 1e6, 0, 'f', 1)
        .arg(summary.m_nFaultsPlayed > 0 ? strFaults : QString())
        .toUtf8();
}

bool writeToOutput(const QByteArray &text)
{
    return std::fwrite(text.constData(), 1, std::size_t(text.size()), stdout)
            == std::size_t(text.size())
        && std::fflush(stdout) == 0;
}

} // namespace

SummaryWriter::SummaryWriter(const QString &strFile)
    : m_file(strFile == QLatin1String("-") ? QString() : strFile)
    , m_isJsonToOutput(strFile == QLatin1String("-"))
{}

bool SummaryWriter::open()
{
    const bool isWanted = !m_file.fileName().isEmpty();
    return !isWanted || m_file.open(QIODevice::WriteOnly | QIODevice::Truncate) || fail();
}

bool SummaryWriter::write(const sDeviceSummary &summary)
{
    const QByteArray json = jsonText(summary);
    if (!writeToOutput(m_isJsonToOutput ? json : plainText(summary))) {
        m_strError = QStringLiteral("cannot write the summary to standard output");
        return false;
    }
    if (m_file.isOpen() && (m_file.write(json) != json.size() || !m_file.flush())) {
        return fail();
    }
    return true;
}

bool SummaryWriter::fail()
{
    m_strError = QStringLiteral("--json '%1': cannot write the file: %2")
                     .arg(m_file.fileName(), m_file.errorString());
    return false;
}

} // namespace Morvek::Tools
