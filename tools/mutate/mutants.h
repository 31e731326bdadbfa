#pragma once

#include <QList>
#include <QString>

/// One small change to a source file.
struct Mutant
{
    QString file;
    int line = 0;      ///< from 1
    QString kind;      ///< "comparison", "logic", "sign", "constant", "text", "flag", "condition", "lock",
                       ///< "removed", "order"
    QString change;    ///< what stands there and what comes in its place, each in one line
    QString original;  ///< the whole file as it is
    QString changed;   ///< and with the change
};

/// Every mutant of a C++ source, in the order of the text. Comments, preprocessor lines and declarations
/// other than locks are left alone.
QList<Mutant> findMutants(const QString& file, const QString& source);
