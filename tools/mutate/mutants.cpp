#include "tools/mutate/mutants.h"

#include <algorithm>

#include <QHash>
#include <QRegularExpression>
#include <QSet>

namespace {

/// The source with comments and preprocessor lines blanked out, and its literals of text blanked but for the
/// quotes; every offset stays what it was.
QString masked(const QString& source)
{
    static const QRegularExpression dead(
        QStringLiteral(
            R"re(//[^\n]*|/\*.*?\*/|^[ ]*#[^\n]*|(R"\w*\(.*?\)\w*"|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])+'))re"),
        QRegularExpression::DotMatchesEverythingOption | QRegularExpression::MultilineOption);
    QString text = source;
    for (auto matches = dead.globalMatch(source); matches.hasNext();) {
        const auto match = matches.next();
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
constexpr Swap Swaps[] = {
    {" == ", " != ", "comparison"},  {" != ", " == ", "comparison"}, {" <= ", " < ", "comparison"},
    {" >= ", " > ", "comparison"},   {" < ", " <= ", "comparison"},  {" > ", " >= ", "comparison"},
    {" && ", " || ", "logic"},       {" \\|\\| ", " && ", "logic"},  {"(?<=[(\\s])!(?=[\\w(])", "", "logic"},
    {" \\+ ", " - ", "sign"},        {" - ", " + ", "sign"},         {"\\btrue\\b", "false", "flag"},
    {"\\bfalse\\b", "true", "flag"},
};

void addSwaps(const QString& code, QList<Mutant>& mutants)
{
    for (const Swap& swap : Swaps) {
        const QRegularExpression pattern(QString::fromLatin1(swap.pattern));
        for (auto matches = pattern.globalMatch(code); matches.hasNext();) {
            const auto match = matches.next();
            mutants.append({match.capturedStart(), match.capturedLength(),
                            QString::fromLatin1(swap.replacement), QString::fromLatin1(swap.kind)});
        }
    }
}

void addConstants(const QString& source, const QString& code, QList<Mutant>& mutants)
{
    static const QRegularExpression number(QStringLiteral(R"((?<![\w.'%])(\d[\d']*)(?=min\b|ms\b|s\b|\b))"));
    for (auto matches = number.globalMatch(code); matches.hasNext();) {
        const auto match = matches.next();
        const qlonglong value = match.captured(1).remove(u'\'').toLongLong();
        mutants.append({match.capturedStart(1), match.capturedLength(1), QString::number(value + 1),
                        QStringLiteral("constant")});
    }
    static const QRegularExpression text(QStringLiteral(R"("[^"]*")"));
    for (auto matches = text.globalMatch(code); matches.hasNext();) {
        const auto match = matches.next();
        if (match.capturedLength() > 2) {
            mutants.append(
                {match.capturedStart(), match.capturedLength(),
                 source.mid(match.capturedStart(), match.capturedLength() - 1) + QStringLiteral("~\""),
                 QStringLiteral("text")});
        }
    }
}

/// An enumerator of an enumeration becomes another one of those that the file names.
void addFlags(const QString& code, QList<Mutant>& mutants)
{
    static const QRegularExpression flag(QStringLiteral(R"(\b(E[A-Z]\w+::)(\w+)\b(?!::|\())"));
    QHash<QString, QStringList> known;
    for (auto matches = flag.globalMatch(code); matches.hasNext();) {
        const auto match = matches.next();
        QStringList& names = known[match.captured(1)];
        if (!names.contains(match.captured(2))) {
            names.append(match.captured(2));
        }
    }
    for (auto matches = flag.globalMatch(code); matches.hasNext();) {
        const auto match = matches.next();
        const QStringList& names = known[match.captured(1)];
        if (names.size() > 1) {
            const QString& other = names[(names.indexOf(match.captured(2)) + 1) % names.size()];
            mutants.append({match.capturedStart(2), match.capturedLength(2), other, QStringLiteral("flag")});
        }
    }
}

/// Conditions without an operator of their own are negated.
void addConditions(const QString& code, QList<Mutant>& mutants)
{
    static const QRegularExpression condition(QStringLiteral(R"(\b(?:if|while) (\((?:[^()]|(?1))*\)))"));
    static const QRegularExpression operators(QStringLiteral(R"( (?:[=!<>]=|[<>]|&&|\|\|) |\(!|;)"));
    for (auto matches = condition.globalMatch(code); matches.hasNext();) {
        const auto match = matches.next();
        if (!match.captured(1).contains(operators)) {
            mutants.append({match.capturedStart(1), match.capturedLength(1), "(!" + match.captured(1) + ")",
                            QStringLiteral("condition")});
        }
    }
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

/// Statements that can go: expressions and jumps, from the start of a line to its ";".
void addStatements(const QString& source, const QString& code, QList<Mutant>& mutants)
{
    static const QRegularExpression statement(QStringLiteral(
        R"((?<=[;{}:]\n)( +)(?!(?:return\b(?!;)|using|const|constexpr|static|auto|throw|namespace|case|default|public|private|emit)\b))"
        R"((?:break|continue|return|[\w:\->.*\[\]]+(?:\(|\s*(?:=|\+=|\|=|\+\+|--)|\+\+|--)|\+\+|--|\(void\))(?:[^;{}]|\{(?:[^{}]|\{[^{}]*\})*\})*;(?=\s*\n))"));
    QRegularExpressionMatch before;
    for (auto matches = statement.globalMatch(code); matches.hasNext();) {
        const auto match = matches.next();
        mutants.append({match.capturedStart(), match.capturedLength(), QString(), QStringLiteral("removed")});
        // The blank between two statements is one line's end.
        if (before.hasMatch() && before.capturedEnd() + 1 == match.capturedStart() &&
            before.captured(1) == match.captured(1)) {
            const auto text = [&source](const auto& of) {
                return source.mid(of.capturedStart(), of.capturedLength());
            };
            if (!areIndependent(text(before), text(match))) {
                mutants.append({before.capturedStart(), match.capturedEnd() - before.capturedStart(),
                                text(match) + u'\n' + text(before), QStringLiteral("order")});
            }
        }
        before = match;
    }
}

}  // namespace

QString Mutant::applied(const QString& source) const
{
    return source.left(offset) + replacement + source.mid(offset + length);
}

int Mutant::line(const QString& source) const
{
    qsizetype first = offset;
    while (first < offset + length && source[first].isSpace()) {
        ++first;
    }
    return static_cast<int>(source.left(first).count(u'\n')) + 1;
}

QString Mutant::description(const QString& source) const
{
    const qsizetype from = source.lastIndexOf(u'\n', offset) + 1;
    const qsizetype to = source.indexOf(u'\n', offset + length);
    const QString was = source.mid(from, to - from).simplified();
    const QString is =
        (source.mid(from, offset - from) + replacement + source.mid(offset + length, to - offset - length))
            .simplified();
    return was + QStringLiteral("  ->  ") + (is.isEmpty() ? QStringLiteral("(nothing)") : is);
}

QList<Mutant> findMutants(const QString& source)
{
    const QString code = masked(source);
    QList<Mutant> mutants;
    addSwaps(code, mutants);
    addConstants(source, code, mutants);
    addFlags(code, mutants);
    addConditions(code, mutants);
    addStatements(source, code, mutants);
    std::stable_sort(mutants.begin(), mutants.end(),
                     [](const Mutant& a, const Mutant& b) { return a.offset < b.offset; });
    return mutants;
}
