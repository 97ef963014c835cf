// A host that never rests for long, with devices that come, go and misbehave: nothing may grow.

#include "soakhost.h"
#include "soakrecord.h"

#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QThreadPool>

#include <cstdio>

using namespace Morvek::Tests;

namespace {

struct sOptions
{
    double m_minutes = 5;
    double m_slack = 1;
    quint32 m_nSeed = 1;
    QString m_strCsv;
};

/** Reads the command line; ends the process with 2 on a wrong one. */
sOptions readOptions()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Exercises the library like a restless host, and shows what grows."));
    parser.addHelpOption();
    const QCommandLineOption csv(QStringLiteral("csv"), QStringLiteral("Writes every sample."),
                                 QStringLiteral("file"));
    const QCommandLineOption seed(QStringLiteral("seed"), QStringLiteral("Draws other deeds."),
                                  QStringLiteral("number"), QStringLiteral("1"));
    const QCommandLineOption slack(QStringLiteral("slack"),
                                   QStringLiteral("Multiplies the bounds on memory and time."),
                                   QStringLiteral("factor"), QStringLiteral("1"));
    parser.addOptions({csv, seed, slack});
    parser.addPositionalArgument(QStringLiteral("minutes"),
                                 QStringLiteral("How long; 5 if not given."),
                                 QStringLiteral("[minutes]"));
    parser.process(*QCoreApplication::instance());

    sOptions options;
    bool isMinutes = true;
    bool isSeed = false;
    bool isSlack = false;
    if (!parser.positionalArguments().isEmpty())
        options.m_minutes = parser.positionalArguments().first().toDouble(&isMinutes);
    options.m_nSeed = parser.value(seed).toUInt(&isSeed);
    options.m_slack = parser.value(slack).toDouble(&isSlack);
    options.m_strCsv = parser.value(csv);
    if (!isMinutes || !(options.m_minutes > 0) || !isSeed || !isSlack || !(options.m_slack >= 1)) {
        std::fprintf(stderr, "%s", qPrintable(parser.helpText()));
        std::exit(2);
    }
    return options;
}

void soak(SoakHost &host, SoakRecord &record, double minutes)
{
    // A short run rests often enough to be judged, a long one seldom enough to be at work.
    const double restEvery = qMin(0.5, minutes / 8); // minutes
    while (record.minutes() < minutes) {
        host.start();
        const double until = record.minutes() + restEvery;
        while (record.minutes() < until) {
            host.actOnce();
            record.sampleAtWork(host.takeAges(), host.previewCount());
        }
        host.rest();
        record.sampleAtRest();
    }
}

} // namespace

int main(int argc, char *argv[])
{
    const QGuiApplication app(argc, argv);
    // Qt converts large pictures on threads of its own pool, which stay for half a minute: whether
    // they are there at rest says nothing of the library.
    QThreadPool::globalInstance()->setExpiryTimeout(0);
    const sOptions options = readOptions();
    // What the library warns of is what was done to it.
    qInstallMessageHandler([](QtMsgType eType, const QMessageLogContext &, const QString &strText) {
        if (eType == QtFatalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(strText));
    });
    keepNoFreeMemory();

    SoakDevices devices;
    if (!devices.start())
        return 1;
    SoakHost host(devices, options.m_nSeed);
    SoakRecord record(options.m_strCsv);
    soak(host, record, options.m_minutes);
    if (!record.isWritten()) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(options.m_strCsv));
        return 1;
    }
    BoundTable table;
    table.tell(QStringLiteral("previews delivered"), double(host.previewCount()), {},
               host.deeds().join(QStringLiteral(", ")));
    record.judge(options.m_slack, table);
    table.print();
    return table.exitStatus();
}
