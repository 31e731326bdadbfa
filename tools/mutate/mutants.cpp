#include "tools/mutate/mutants.h"

#include <algorithm>

#include <QHash>
#include <QRegularExpression>
#include <QStringList>

namespace {

using Matches = QList<QRegularExpressionMatch>;

Matches matchesOf(const char* pattern, const QString& text)
{
    const QRegularExpression expression(QString::fromLatin1(pattern), QRegularExpression::MultilineOption);
    Matches matches;
    for (auto found = expression.globalMatch(text); found.hasNext();) {
        matches.append(found.next());
    }
    return matches;
}

/// The source with comments and preprocessor lines blanked out, and its literals of text blanked but for the
/// quotes; every offset stays what it was.
QString masked(const QString& source)
{
    const auto dead =
        R"re(//[^\n]*|/\*(?s:.*?)\*/|^[ ]*#[^\n]*|(R"\w*\((?s:.*?)\)\w*"|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])+'))re";
    QString text = source;
    for (const auto& match : matchesOf(dead, source)) {
        const int edge = match.hasCaptured(1) ? 1 : 0;
        for (qsizetype i = match.capturedStart() + edge; i < match.capturedEnd() - edge; ++i) {
            if (text[i] != u'\n') {
                text[i] = u' ';
            }
        }
    }
    return text;
}

struct Swap
{
    const char* pattern;
    const char* replacement;
    const char* kind;
};

/// Each replaces the pattern's whole match. Comparisons and signs have blanks around them, templates have
/// not.
constexpr Swap swaps[] = {
    {" == ", " != ", "comparison"},  {" != ", " == ", "comparison"}, {" <= ", " < ", "comparison"},
    {" >= ", " > ", "comparison"},   {" < ", " <= ", "comparison"},  {" > ", " >= ", "comparison"},
    {" && ", " || ", "logic"},       {" \\|\\| ", " && ", "logic"},  {"(?<=[(\\s])!(?=[\\w(])", "", "logic"},
    {" \\+ ", " - ", "sign"},        {" - ", " + ", "sign"},         {"\\btrue\\b", "false", "flag"},
    {"\\bfalse\\b", "true", "flag"},
};

bool isNextLine(const QRegularExpressionMatch& first, const QRegularExpressionMatch& second)
{
    return first.capturedEnd() + 1 == second.capturedStart() && first.captured(1) == second.captured(1);
}

/// Whether two statements say the same in any order: settings of one object, or plain assignments.
bool areIndependent(const QString& first, const QString& second)
{
    static const QRegularExpression setter(QStringLiteral(R"(^\s*(\w+(?:\.|->)set)\w+\()"));
    static const QRegularExpression assignment(QStringLiteral(R"(^\s*[\w.]+ = )"));
    const QString object = setter.match(first).captured(1);
    return (!object.isEmpty() && object == setter.match(second).captured(1)) ||
           (first.contains(assignment) && second.contains(assignment));
}

/// The mutants of one file.
class Finder
{
public:
    Finder(const QString& file, const QString& source)
        : m_file(file)
        , m_source(source)
        , m_code(masked(source))
    {
    }

    QList<Mutant> find()
    {
        for (const Swap& swap : swaps) {
            for (const auto& match : matchesOf(swap.pattern, m_code)) {
                add(match, 0, QString::fromLatin1(swap.replacement), swap.kind);
            }
        }
        addConstants();
        addFlags();
        addConditions();
        addLocks();
        addStatements();
        std::stable_sort(m_mutants.begin(), m_mutants.end(),
                         [](const Mutant& a, const Mutant& b) { return a.line < b.line; });
        return m_mutants;
    }

private:
    void add(qsizetype begin, qsizetype end, const QString& replacement, const char* kind)
    {
        const qsizetype from = m_source.lastIndexOf(u'\n', begin) + 1, to = m_source.indexOf(u'\n', end);
        const QString before = m_source.left(begin), after = m_source.mid(end);
        const QString was = m_source.mid(from, to - from).simplified();
        const QString is = (before.mid(from) + replacement + after.left(to - end)).simplified();
        m_mutants.append({m_file, static_cast<int>(before.count(u'\n')) + 1, QString::fromLatin1(kind),
                          was + "  ->  " + (is.isEmpty() ? QStringLiteral("(nothing)") : is), m_source,
                          before + replacement + after});
    }
    /// Replaces what `group` has caught.
    void add(const QRegularExpressionMatch& match, int group, const QString& replacement, const char* kind)
    {
        add(match.capturedStart(group), match.capturedEnd(group), replacement, kind);
    }
    [[nodiscard]] QString text(const QRegularExpressionMatch& match, int group = 0) const
    {
        return m_source.mid(match.capturedStart(group), match.capturedLength(group));
    }
    /// Two matches, one in the line behind the other, in the other order.
    void addExchange(const QRegularExpressionMatch& first, const QRegularExpressionMatch& second,
                     const char* kind)
    {
        add(first.capturedStart(), second.capturedEnd(), text(second) + u'\n' + text(first), kind);
    }
    /// Replaces what `group` has caught by the next one of `names`, which holds it, in a ring.
    void addNext(const QRegularExpressionMatch& match, int group, QStringList names, const char* kind)
    {
        names.removeDuplicates();
        if (names.size() > 1) {
            add(match, group, names[(names.indexOf(match.captured(group)) + 1) % names.size()], kind);
        }
    }

    void addConstants()
    {
        for (const auto& match : matchesOf(R"((?<![\w.'%])(\d[\d']*)(?=min\b|ms\b|s\b|\b))", m_code)) {
            add(match, 1, QString::number(match.captured(1).remove(u'\'').toLongLong() + 1), "constant");
        }
        for (const auto& match : matchesOf(R"re("( +)")re", m_code)) {  // blanks only: it is masked
            add(match, 1, text(match, 1) + u'~', "text");
        }
    }

    /// An enumerator of an enumeration becomes another one of those that the file names.
    void addFlags()
    {
        const Matches matches = matchesOf(R"(\b(E[A-Z]\w+::)(\w+)\b(?!::|\())", m_code);
        QHash<QString, QStringList> known;
        for (const auto& match : matches) {
            known[match.captured(1)].append(match.captured(2));
        }
        for (const auto& match : matches) {
            addNext(match, 2, known[match.captured(1)], "flag");
        }
    }

    /// Conditions without an operator of their own are negated.
    void addConditions()
    {
        static const QRegularExpression operators(QStringLiteral(R"( (?:[=!<>]=|[<>]|&&|\|\|) |\(!|;)"));
        for (const auto& match : matchesOf(R"(\b(?:if|while) (\((?:[^()]|(?1))*\)))", m_code)) {
            if (!match.captured(1).contains(operators)) {
                add(match, 1, "(!" + text(match, 1) + ")", "condition");
            }
        }
    }

    /// A lock is not taken, another mutex of the file is taken in its place, or two in the other order.
    void addLocks()
    {
        const Matches locks =
            matchesOf(R"(^( +)(?:const )?(?:std::(?:lock_guard|(unique_lock))|QMutexLocker))"
                      R"((?:<.*>)? \w+\((&?)([\w.>-]+)\);)",
                      m_code);
        QHash<QString, QStringList> known;  // by how they are given
        for (const auto& lock : locks) {
            known[lock.captured(3)].append(lock.captured(4));
        }
        for (qsizetype i = 0; i < locks.size(); ++i) {
            const QString mutex = locks[i].captured(4);
            const bool isNeeded = !locks[i].captured(2).isEmpty();
            add(locks[i], isNeeded ? 4 : 0, isNeeded ? mutex + ", std::defer_lock" : QString(), "lock");
            addNext(locks[i], 4, known[locks[i].captured(3)], "lock");
            if (i > 0 && isNextLine(locks[i - 1], locks[i])) {
                addExchange(locks[i - 1], locks[i], "lock");
            }
        }
    }

    /// Statements that can go: expressions and jumps, from the start of a line to its ";".
    void addStatements()
    {
        const Matches statements = matchesOf(
            R"((?<=[;{}:]\n)( +)(?!(?:return\b(?!;)|using|const|constexpr|static|auto|throw|namespace|case|default)\b))"
            R"((?!(?:public|private|emit)\b)(?:break|continue|return|[\w:\->.*\[\]]+(?:\(|\s*(?:=|\+=|\|=|\+\+|--)))"
            R"(|\+\+|--|\(void\))(?:[^;{}]|\{(?:[^{}]|\{[^{}]*\})*\})*;(?=\s*\n))",
            m_code);
        for (qsizetype i = 0; i < statements.size(); ++i) {
            add(statements[i], 0, QString(), "removed");
            if (i > 0 && isNextLine(statements[i - 1], statements[i]) &&
                !areIndependent(text(statements[i - 1]), text(statements[i]))) {
                addExchange(statements[i - 1], statements[i], "order");
            }
        }
    }

    const QString m_file;
    const QString m_source;
    const QString m_code;
    QList<Mutant> m_mutants;
};

}  // namespace

QList<Mutant> findMutants(const QString& file, const QString& source)
{
    return Finder(file, source).find();
}
