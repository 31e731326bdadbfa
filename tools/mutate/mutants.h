#pragma once

#include <QList>
#include <QString>

/// One small change to a source file.
struct Mutant
{
    qsizetype offset = 0;  ///< of the changed text within the file
    qsizetype length = 0;  ///< of the text that it replaces
    QString replacement;
    QString
        kind;  ///< "comparison", "logic", "sign", "constant", "text", "flag", "condition", "removed", "order"

    /// The whole file with the change.
    [[nodiscard]] QString applied(const QString& source) const;
    /// From 1.
    [[nodiscard]] int line(const QString& source) const;
    /// What stands there and what comes in its place, each in one line.
    [[nodiscard]] QString description(const QString& source) const;
};

/// Every mutant of a C++ source, in the order of the text. Comments, preprocessor lines and declarations
/// are left alone.
QList<Mutant> findMutants(const QString& source);
