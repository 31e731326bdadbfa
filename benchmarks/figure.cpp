#include "benchmarks/figure.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

#include <QJsonArray>
#include <QLocale>
#include <QProcess>
#include <QStringList>

namespace bench {

namespace {

/// "2,535 µs", "0.0824 ms"; empty for 0.
QString measured(const QJsonValue& value, const QString& unit)
{
    const double number = value.toDouble();
    if (number <= 0) {
        return {};
    }
    const QString text =
        number >= 100 ? QLocale(QLocale::English).toString(number, 'f', 0) : QString::number(number, 'g', 3);
    return (text + ' ' + unit).trimmed();
}

/// The line of one comparison, as each run has it.
QString markdownLine(const QList<QJsonObject>& rows)
{
    const QJsonObject& last = rows.last();
    QStringList ratios;
    qsizetype met = 0;
    for (const QJsonObject& row : rows) {
        if (row["what"] != last["what"]) {
            throw std::runtime_error("the runs have different rows");
        }
        ratios.append(QString::number(row["ratio"].toDouble(), 'f', 3));
        met += row["met"].toBool() ? 1 : 0;
    }
    const QString unit = last["unit"].toString();
    const QString verdict = met == 0 ? QStringLiteral("missed")
                            : met == rows.size()
                                ? QStringLiteral("met")
                                : QStringLiteral("met in %1 of %2").arg(met).arg(rows.size());
    return QStringLiteral("| %1 | %2 | %3 | %4 | %5 %6 |\n")
        .arg(last["what"].toString(), measured(last["ours"], unit), measured(last["other"], unit),
             ratios.join(' '))
        .arg(last["goal"].toDouble())
        .arg(verdict);
}

}  // namespace

QJsonObject toJson(const Figure& figure)
{
    QJsonArray rows;
    for (const Row& row : figure.rows) {
        rows.append(QJsonObject{{"what", row.what},
                                {"unit", row.unit},
                                {"ours", row.ours},
                                {"other", row.other},
                                {"ratio", row.ratio()},
                                {"goal", row.goal},
                                {"met", row.isMet()}});
    }
    return {{"title", figure.title}, {"ours", figure.ourName}, {"other", figure.otherName}, {"rows", rows}};
}

QString toMarkdown(const QList<QJsonObject>& runs)
{
    const QJsonObject& last = runs.last();
    QString text = QStringLiteral("%1:\n\n| | %2 | %3 | ratios | goal |\n|---|---|---|---|---|\n")
                       .arg(last["title"].toString(), last["ours"].toString(), last["other"].toString());
    for (qsizetype i = 0; i < last["rows"].toArray().size(); ++i) {
        QList<QJsonObject> rows;
        for (const QJsonObject& run : runs) {
            rows.append(run["rows"].toArray().at(i).toObject());
        }
        text += markdownLine(rows);
    }
    return text;
}

void draw(const Figure& figure, const QString& svgFile)
{
    QString rows;
    for (const Row& row : figure.rows) {
        rows += QStringLiteral("\"%1\" %2 %3\n").arg(row.what).arg(row.ratio()).arg(row.goal);
    }
    const QString script = QStringLiteral("set terminal svg size 720,%1 font 'sans,12' background 'white'\n"
                                          "set output '%2'\nset style fill solid 0.6\n$rows << END\n%3END\n"
                                          "set yrange [%4:-1] noreverse\nset xrange [0:*]\nset grid xtics\n"
                                          "unset key\nplot $rows using ($2/2):0:($2/2):(0.35):yticlabels(1) "
                                          "with boxxyerror, $rows using 3:0 with points pt 2 lc 'black'\n")
                               .arg(90 + 24 * figure.rows.size())
                               .arg(svgFile, rows)
                               .arg(figure.rows.size());
    QProcess gnuplot;
    gnuplot.start("gnuplot", {"-"});
    gnuplot.write(script.toUtf8());
    gnuplot.closeWriteChannel();
    if (!gnuplot.waitForFinished() || gnuplot.exitCode() != 0) {
        throw std::runtime_error("gnuplot: " + gnuplot.readAllStandardError().toStdString());
    }
}

QString countedCodes(int count)
{
    return QLocale(QLocale::English).toString(count) + (count == 1 ? " code" : " codes");
}

double microseconds(const std::function<void()>& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
}

std::vector<double> mediansByTurns(const std::vector<std::function<double()>>& sides, int rounds)
{
    const int warmUp = 1 + rounds / 20;
    std::vector<std::vector<double>> times(sides.size());
    for (int round = 0; round < warmUp + rounds; ++round) {
        for (size_t turn = 0; turn < sides.size(); ++turn) {
            const size_t side = (turn + static_cast<size_t>(round)) % sides.size();
            const double time = sides[side]();
            if (round >= warmUp) {
                times[side].push_back(time);
            }
        }
    }
    std::vector<double> medians(sides.size());
    std::transform(times.begin(), times.end(), medians.begin(), median);
    return medians;
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace bench
