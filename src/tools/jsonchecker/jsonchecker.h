#ifndef MORVEK_TOOLS_JSONCHECKER_H
#define MORVEK_TOOLS_JSONCHECKER_H

#include <QColor>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QPair>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>

namespace Morvek::Tools {

/** Collects everything that is wrong with one JSON file, one line each. */
class JsonProblems
{
public:
    /** @param strFileName  as it stands at the beginning of each line */
    explicit JsonProblems(const QString &strFileName);

    /** Adds "file: path: expected ..., found ...". */
    void add(const QString &strPath, const QString &strExpected, const QJsonValue &found);
    /** Adds "file: path: text". */
    void add(const QString &strPath, const QString &strText);
    /** Says of every line from nFirst on what it is about, behind it and in brackets. */
    void addSubject(int nFirst, const QString &strSubject);
    int count() const { return m_lines.size(); }
    QStringList lines() const { return m_lines; }

private:
    QString m_strFileName;
    QStringList m_lines;
};

/**
 * Reads one object of a JSON file, key by key, and complains about whatever is not as expected.
 *
 * A getter with a fallback takes a missing key for the fallback, one without calls it a problem.
 * What a getter returns beside a problem is a valid value without meaning. Call finish() once every
 * key was asked for: those nobody asked for are problems, too.
 */
class JsonChecker
{
public:
    /**
     * @param value      what should be an object; a problem if it is not
     * @param strPath    where it stands, such as "screens[0]"; empty for the whole file
     * @param pProblems  must outlive the checker
     */
    JsonChecker(const QJsonValue &value, const QString &strPath, JsonProblems *pProblems);

    bool has(const QString &strKey);
    /** A text that is not empty. */
    QString text(const QString &strKey);
    int integer(const QString &strKey, int nMin, int nMax, std::optional<int> fallback = {});
    /** One of the given numbers, of which there is at least one. */
    int integerOf(const QString &strKey, const QList<int> &choices);
    bool flag(const QString &strKey, bool fallback);
    /** "#rrggbb", "#aarrggbb" or a colour name of SVG. */
    QColor color(const QString &strKey, const QColor &fallback);
    /** [width, height], each from nMin to nMax. */
    QSize size(const QString &strKey, int nMin, int nMax, std::optional<QSize> fallback = {});
    /** [x, y, width, height]: a place from -nMax to nMax and a size from 1 to nMax. */
    QRect rect(const QString &strKey, int nMax);
    /** One of the given words. */
    template <typename Value>
    Value choice(const QString &strKey, const QList<QPair<QString, Value>> &choices,
                 std::optional<Value> fallback = {})
    {
        const int nChoice = word(strKey, words(choices), fallback.has_value());
        return nChoice >= 0 ? choices[nChoice].second : fallback.value_or(choices.first().second);
    }
    /** The object under a key, whose problems go to the same list. */
    JsonChecker object(const QString &strKey);
    /** The objects of an array that has nMin to nMax of them. */
    QList<JsonChecker> objects(const QString &strKey, int nMin, int nMax);

    /** Adds a problem of one key that no getter knows about. */
    void complain(const QString &strKey, const QString &strExpected);
    /** Complains about every key that was never asked for. */
    void finish();

private:
    template <typename Value>
    static QStringList words(const QList<QPair<QString, Value>> &choices)
    {
        QStringList result;
        for (const auto &choice : choices)
            result.append(choice.first);
        return result;
    }

    QString path(const QString &strKey) const;
    QJsonValue value(const QString &strKey);
    int word(const QString &strKey, const QStringList &words, bool isOptional);
    QList<int> numbers(const QString &strKey, const QList<QPair<int, int>> &ranges,
                       const QString &strExpected);

    QJsonObject m_object;
    QString m_strPath;
    JsonProblems *m_pProblems;
    QStringList m_askedKeys;
    bool m_isObject;
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_JSONCHECKER_H
