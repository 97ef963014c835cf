#include "enduranceoptions.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>

namespace Morvek::Tests {

namespace {

[[noreturn]] void refuse(const QString &strWhy)
{
    std::fprintf(stderr, "%s\n", qPrintable(strWhy));
    std::exit(2);
}

} // namespace

sEnduranceOptions readEnduranceOptions(const QString &strDescription, const QString &strCount,
                                       int nDefaultCount, const QStringList &names,
                                       const QList<QCommandLineOption> &flags)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(strDescription);
    parser.addHelpOption();
    const QCommandLineOption slack(QStringLiteral("slack"),
                                   QStringLiteral("Multiplies every bound on time."),
                                   QStringLiteral("factor"), QStringLiteral("1"));
    parser.addOption(slack);
    parser.addOptions(flags);
    parser.addPositionalArgument(
        QStringLiteral("count"),
        QStringLiteral("%1; %2 if not given.").arg(strCount).arg(nDefaultCount),
        QStringLiteral("[count]"));
    if (!names.isEmpty())
        parser.addPositionalArgument(QStringLiteral("name"),
                                     QStringLiteral("One or more of: ")
                                         + names.join(QStringLiteral(", ")),
                                     QStringLiteral("[name...]"));
    parser.process(*QCoreApplication::instance());

    sEnduranceOptions options;
    bool isOk = false;
    options.m_slack = parser.value(slack).toDouble(&isOk);
    if (!isOk || !(options.m_slack >= 1))
        refuse(QStringLiteral("--slack takes a factor of 1 or more"));
    for (const QCommandLineOption &flag : flags) {
        if (parser.isSet(flag))
            options.m_flags.append(flag.names().constFirst());
    }
    QStringList arguments = parser.positionalArguments();
    options.m_nCount = nDefaultCount;
    if (!arguments.isEmpty()) {
        options.m_nCount = arguments.takeFirst().toInt(&isOk);
        if (!isOk || options.m_nCount < 1)
            refuse(QStringLiteral("the count must be a number from 1 on"));
    }
    for (const QString &strName : qAsConst(arguments)) {
        if (!names.contains(strName))
            refuse(QStringLiteral("there is no \"%1\"").arg(strName));
    }
    options.m_selected = arguments;
    return options;
}

} // namespace Morvek::Tests
