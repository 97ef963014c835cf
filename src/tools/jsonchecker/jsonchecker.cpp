#include "jsonchecker.h"

#include <QJsonArray>

#include <cmath>

namespace Morvek::Tools {

namespace {

QString described(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Null:
        return QStringLiteral("null");
    case QJsonValue::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QJsonValue::Double:
        return QString::number(value.toDouble(), 'g', 10);
    case QJsonValue::String:
        return QLatin1Char('"') + value.toString() + QLatin1Char('"');
    case QJsonValue::Array:
        return QStringLiteral("an array of %1").arg(value.toArray().size());
    case QJsonValue::Object:
        return QStringLiteral("an object");
    case QJsonValue::Undefined:
        break;
    }
    return QStringLiteral("nothing");
}

QString expectedInteger(int nMin, int nMax)
{
    return QStringLiteral("a whole number from %1 to %2").arg(nMin).arg(nMax);
}

std::optional<int> wholeNumber(const QJsonValue &value, int nMin, int nMax)
{
    const double number = value.toDouble(std::nan(""));
    if (!(number >= nMin && number <= nMax) || std::floor(number) != number)
        return {};
    return int(number);
}

QString expectedWord(const QStringList &words)
{
    return QStringLiteral("one of \"%1\"").arg(words.join(QStringLiteral("\", \"")));
}

} // namespace

JsonProblems::JsonProblems(const QString &strFileName)
    : m_strFileName(strFileName)
{}

void JsonProblems::add(const QString &strPath, const QString &strExpected, const QJsonValue &found)
{
    add(strPath, QStringLiteral("expected %1, found %2").arg(strExpected, described(found)));
}

void JsonProblems::add(const QString &strPath, const QString &strText)
{
    const QString strPlace = strPath.isEmpty() ? QStringLiteral("(whole file)") : strPath;
    m_lines.append(m_strFileName + QStringLiteral(": ") + strPlace + QStringLiteral(": ")
                   + strText);
}

void JsonProblems::addSubject(int nFirst, const QString &strSubject)
{
    for (int nLine = nFirst; nLine < m_lines.size(); ++nLine)
        m_lines[nLine] += QStringLiteral(" (%1)").arg(strSubject);
}

JsonChecker::JsonChecker(const QJsonValue &value, const QString &strPath, JsonProblems *pProblems)
    : m_object(value.toObject())
    , m_strPath(strPath)
    , m_pProblems(pProblems)
    , m_isObject(value.isObject())
{
    if (!m_isObject)
        m_pProblems->add(m_strPath, QStringLiteral("an object"), value);
}

bool JsonChecker::has(const QString &strKey)
{
    return !value(strKey).isUndefined();
}

QString JsonChecker::text(const QString &strKey)
{
    const QJsonValue found = value(strKey);
    if (found.toString().isEmpty())
        complain(strKey, QStringLiteral("a text that is not empty"));
    return found.toString();
}

int JsonChecker::integer(const QString &strKey, int nMin, int nMax, std::optional<int> fallback)
{
    const QJsonValue found = value(strKey);
    if (found.isUndefined() && fallback)
        return *fallback;
    const std::optional<int> number = wholeNumber(found, nMin, nMax);
    if (!number)
        complain(strKey, expectedInteger(nMin, nMax));
    return number.value_or(nMin);
}

int JsonChecker::integerOf(const QString &strKey, const QList<int> &choices)
{
    const QJsonValue found = value(strKey);
    QStringList expected;
    for (int choice : choices) {
        if (found.isDouble() && found.toDouble() == choice)
            return choice;
        expected.append(QString::number(choice));
    }
    complain(strKey, QStringLiteral("one of %1").arg(expected.join(QStringLiteral(", "))));
    return choices.last();
}

bool JsonChecker::flag(const QString &strKey, bool fallback)
{
    const QJsonValue found = value(strKey);
    if (!found.isUndefined() && !found.isBool())
        complain(strKey, QStringLiteral("true or false"));
    return found.toBool(fallback);
}

QColor JsonChecker::color(const QString &strKey, const QColor &fallback)
{
    const QJsonValue found = value(strKey);
    if (found.isUndefined())
        return fallback;
    // A value of another type gives an empty name, which is no colour either.
    if (QColor::isValidColor(found.toString()))
        return QColor(found.toString());
    complain(strKey, QStringLiteral("a colour such as \"#20c0a0\" or, with alpha first, "
                                    "\"#8020c0a0\""));
    return fallback;
}

QSize JsonChecker::size(const QString &strKey, int nMin, int nMax, std::optional<QSize> fallback)
{
    if (fallback && value(strKey).isUndefined())
        return *fallback;
    const QPair<int, int> range(nMin, nMax);
    const QList<int> found = numbers(strKey, {range, range}, QStringLiteral("[width, height]"));
    return QSize(found[0], found[1]);
}

QRect JsonChecker::rect(const QString &strKey, int nMax)
{
    const QPair<int, int> place(-nMax, nMax);
    const QPair<int, int> extent(1, nMax);
    const QList<int> found =
        numbers(strKey, {place, place, extent, extent}, QStringLiteral("[x, y, width, height]"));
    return QRect(found[0], found[1], found[2], found[3]);
}

JsonChecker JsonChecker::object(const QString &strKey)
{
    return JsonChecker(value(strKey), path(strKey), m_pProblems);
}

QList<JsonChecker> JsonChecker::objects(const QString &strKey, int nMin, int nMax)
{
    const QJsonValue found = value(strKey);
    const QJsonArray array = found.toArray();
    if (!found.isArray() || array.size() < nMin || array.size() > nMax) {
        complain(strKey, QStringLiteral("an array of %1 to %2 objects").arg(nMin).arg(nMax));
        return {};
    }
    QList<JsonChecker> result;
    for (int nIndex = 0; nIndex < array.size(); ++nIndex)
        result.append(JsonChecker(
            array[nIndex], QStringLiteral("%1[%2]").arg(path(strKey)).arg(nIndex), m_pProblems));
    return result;
}

void JsonChecker::complain(const QString &strKey, const QString &strExpected)
{
    // What is no object has been complained about as a whole.
    if (m_isObject)
        m_pProblems->add(path(strKey), strExpected, value(strKey));
}

void JsonChecker::finish()
{
    QStringList known = m_askedKeys;
    known.sort();
    const QStringList keys = m_object.keys();
    for (const QString &strKey : keys) {
        if (!known.contains(strKey))
            m_pProblems->add(path(strKey), QStringLiteral("unknown key, expected one of: %1")
                                               .arg(known.join(QStringLiteral(", "))));
    }
}

QString JsonChecker::path(const QString &strKey) const
{
    return m_strPath.isEmpty() ? strKey : m_strPath + QLatin1Char('.') + strKey;
}

QJsonValue JsonChecker::value(const QString &strKey)
{
    if (!m_askedKeys.contains(strKey))
        m_askedKeys.append(strKey);
    return m_object.value(strKey);
}

int JsonChecker::word(const QString &strKey, const QStringList &words, bool isOptional)
{
    const QJsonValue found = value(strKey);
    if (found.isUndefined() && isOptional)
        return -1;
    const int nWord = found.isString() ? words.indexOf(found.toString()) : -1;
    if (nWord < 0)
        complain(strKey, expectedWord(words));
    return nWord;
}

QList<int> JsonChecker::numbers(const QString &strKey, const QList<QPair<int, int>> &ranges,
                                const QString &strExpected)
{
    const QJsonValue found = value(strKey);
    const QJsonArray array = found.toArray();
    const bool isComplete = array.size() == ranges.size();
    if (!isComplete)
        complain(strKey, strExpected);
    QList<int> result;
    for (int nIndex = 0; nIndex < ranges.size(); ++nIndex) {
        const auto [nMin, nMax] = ranges[nIndex];
        const std::optional<int> number = wholeNumber(array.at(nIndex), nMin, nMax);
        if (isComplete && !number)
            m_pProblems->add(QStringLiteral("%1[%2]").arg(path(strKey)).arg(nIndex),
                             expectedInteger(nMin, nMax), array.at(nIndex));
        result.append(number.value_or(nMax));
    }
    return result;
}

} // namespace Morvek::Tools
