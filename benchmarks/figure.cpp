#include "benchmarks/figure.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QStringList>

namespace bench {

namespace {

QString cell(const QString& text, int width)
{
    return text.leftJustified(width) + ' ';
}

/// "1.15 met", "1.15 missed", "1.15 met in 2 of 3"; empty without a goal.
QString verdict(const QJsonArray& rows)
{
    const QJsonValue goal = rows.first()["goal"];
    if (goal.isUndefined()) {
        return {};
    }
    const auto met =
        std::count_if(rows.begin(), rows.end(), [](const QJsonValue& row) { return row["met"].toBool(); });
    const QString text = QString::number(goal.toDouble());
    if (met == 0) {
        return text + " missed";
    }
    return met == rows.size() ? text + " met"
                              : QStringLiteral("%1 met in %2 of %3").arg(text).arg(met).arg(rows.size());
}

QString markdownLine(const QJsonArray& rows)
{
    QStringList ratios;
    for (const auto& row : rows) {
        if (row.toObject().contains("ratio")) {
            ratios.append(QString::number(row.toObject()["ratio"].toDouble(), 'f', 2));
        }
    }
    const QJsonObject last = rows.last().toObject();
    const auto time = [&last](const char* side) {
        return measured(last[QLatin1String(side)].toDouble(), last["unit"].toString());
    };
    return QStringLiteral("| %1 | %2 | %3 | %4 | %5 |\n")
        .arg(last["what"].toString(), time("ours"), time("other"), ratios.join(' '), verdict(rows));
}

}  // namespace

QString counted(int count, const QString& what)
{
    return QStringLiteral("%1 %2%3").arg(QLocale(QLocale::English).toString(count), what,
                                         count == 1 ? "" : "s");
}

QString measured(double value, const QString& unit)
{
    if (value <= 0) {
        return {};
    }
    const QString number =
        value >= 100 ? QLocale(QLocale::English).toString(value, 'f', 0) : QString::number(value, 'g', 3);
    return unit.isEmpty() ? number : number + ' ' + unit;
}

std::optional<double> Row::ratio() const
{
    if (value) {
        return value;
    }
    return other > 0 ? std::optional(ours / other) : std::nullopt;
}

QString toTable(const Figure& figure)
{
    constexpr int wide = 44, narrow = 14;
    QString table = figure.name + ": " + figure.title + '\n';
    table += cell("", wide) + cell(figure.ourName, narrow) + cell(figure.otherName, narrow) +
             cell("ratio", 8) + cell("goal", 8) + '\n';
    for (const Row& row : figure.rows) {
        QString line = cell(row.what, wide) + cell(measured(row.ours, row.unit), narrow) +
                       cell(measured(row.other, row.unit), narrow) +
                       cell(row.ratio() ? QString::number(*row.ratio(), 'f', 2) : QString(), 8) +
                       cell(row.goal ? QString::number(*row.goal, 'f', 2) : QString(), 8) +
                       (row.isMet() ? "" : "MISSED ") + row.note;
        table += QString(line).trimmed().isEmpty() ? QString() : line + '\n';
    }
    return table;
}

QByteArray toJson(const std::vector<Figure>& figures)
{
    QJsonArray all;
    for (const Figure& figure : figures) {
        QJsonArray rows;
        for (const Row& row : figure.rows) {
            QJsonObject object{
                {"what", row.what}, {"unit", row.unit}, {"ours", row.ours}, {"met", row.isMet()}};
            if (row.other > 0) {
                object["other"] = row.other;
            }
            if (row.ratio()) {
                object["ratio"] = *row.ratio();
            }
            if (row.goal) {
                object["goal"] = *row.goal;
            }
            if (!row.note.isEmpty()) {
                object["note"] = row.note;
            }
            rows.append(object);
        }
        all.append(QJsonObject{{"name", figure.name},
                               {"title", figure.title},
                               {"ours", figure.ourName},
                               {"other", figure.otherName},
                               {"rows", rows}});
    }
    return QJsonDocument(QJsonObject{{"figures", all}}).toJson();
}

QByteArray toMarkdown(const std::vector<QByteArray>& runs)
{
    QList<QJsonArray> figures;
    for (const QByteArray& run : runs) {
        figures.append(QJsonDocument::fromJson(run).object()["figures"].toArray());
    }
    QString text;
    const QJsonArray last = figures.isEmpty() ? QJsonArray() : figures.last();
    for (qsizetype i = 0; i < last.size(); ++i) {
        const QJsonObject figure = last[i].toObject();
        text += QStringLiteral("\n%1:\n\n| | %2 | %3 | ratios | goal |\n|---|---|---|---|---|\n")
                    .arg(figure["title"].toString(), figure["ours"].toString(), figure["other"].toString());
        for (qsizetype j = 0; j < figure["rows"].toArray().size(); ++j) {
            QJsonArray rows;
            for (const QJsonArray& run : figures) {
                rows.append(run.at(i)["rows"].toArray().at(j));
                if (rows.last()["what"] != figure["rows"].toArray()[j].toObject()["what"]) {
                    throw std::runtime_error("these are not files of --json with the same figures");
                }
            }
            text += markdownLine(rows);
        }
    }
    if (text.isEmpty()) {
        throw std::runtime_error("there are no figures in this");
    }
    return text.toUtf8();
}

double percentile(std::vector<double> values, double share)
{
    const auto index =
        static_cast<std::ptrdiff_t>(std::llround(share * static_cast<double>(values.size() - 1)));
    std::nth_element(values.begin(), values.begin() + index, values.end());
    return values[static_cast<size_t>(index)];
}

double exponent(const std::vector<double>& sizes, const std::vector<double>& costs)
{
    const auto count = static_cast<double>(sizes.size());
    double x = 0, y = 0, xx = 0, xy = 0;
    for (size_t i = 0; i < sizes.size(); ++i) {
        const double size = std::log(sizes[i]), cost = std::log(costs[i]);
        x += size;
        y += cost;
        xx += size * size;
        xy += size * cost;
    }
    return (count * xy - x * y) / (count * xx - x * x);
}

}  // namespace bench
