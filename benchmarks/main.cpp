// bench: how far the plug-in is above the floor. Each ratio is measured in one run, the two sides by turns.

#include <algorithm>
#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>

#include "benchmarks/figure.h"

namespace {

const std::vector<std::pair<std::string, std::function<bench::Figure()>>> benchmarks = {
    {"check", bench::measureCheck},       {"reply", bench::measureReply}, {"growth", bench::measureGrowth},
    {"failover", bench::measureFailover}, {"idle", bench::measureIdle},
};

QJsonArray figuresIn(const std::string& file)
{
    std::ifstream in(file);
    const std::string content{std::istreambuf_iterator<char>(in), {}};
    const QJsonArray figures = QJsonDocument::fromJson(QByteArray::fromStdString(content)).array();
    if (figures.isEmpty()) {
        throw std::runtime_error("there are no figures in " + file);
    }
    return figures;
}

/// Prints the figures of one or more runs.
void print(const std::vector<QJsonArray>& runs)
{
    for (qsizetype i = 0; i < runs.back().size(); ++i) {
        QList<QJsonObject> figures;
        for (const QJsonArray& run : runs) {
            figures.append(run.at(i).toObject());
        }
        std::cout << bench::toMarkdown(figures).toStdString() << std::endl;
    }
}

int run(const std::vector<std::string>& names, const std::string& json, const std::string& pictures)
{
    QJsonArray figures;
    bool met = true;
    for (const auto& [name, measure] : benchmarks) {
        if (!names.empty() && std::find(names.begin(), names.end(), name) == names.end()) {
            continue;
        }
        const bench::Figure figure = measure();
        figures.append(toJson(figure));
        print({{figures.last()}});
        met &= std::all_of(figure.rows.begin(), figure.rows.end(), std::mem_fn(&bench::Row::isMet));
        if (!pictures.empty() && figure.rows.size() > 1) {
            draw(figure, QString::fromStdString(pictures + "/performance-" + name + ".svg"));
        }
    }
    if (!json.empty() &&
        !(std::ofstream(json) << QJsonDocument(figures).toJson().toStdString() << std::flush)) {
        throw std::runtime_error("cannot write " + json);
    }
    std::cout << (met ? "every goal is met" : "a goal is MISSED") << std::endl;
    return met ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    std::vector<std::string> names, known, files;
    std::string json, pictures, counted;
    int codes = 1;
    for (const auto& [name, measure] : benchmarks) {
        known.push_back(name);
    }
    CLI::App app("Measures the plug-in against the floor. Exit status 1: a goal is missed.");
    app.add_option("NAME", names, "What to measure, by default everything")->check(CLI::IsMember(known));
    app.add_option("--json", json, "File for the figures");
    app.add_option("--pictures", pictures, "Folder for a picture of each figure");
    app.add_option("--tables", files,
                   "Measure nothing: tables in Markdown from the --json files of some runs");
    app.add_option("--count", counted)->group("");
    app.add_option("--codes", codes)->group("");
    CLI11_PARSE(app, argc, argv);
    try {
        if (!counted.empty()) {
            bench::countInstructions(QString::fromStdString(counted), codes);
            return 0;
        }
        if (!files.empty()) {
            std::vector<QJsonArray> runs(files.size());
            std::transform(files.begin(), files.end(), runs.begin(), figuresIn);
            print(runs);
            return 0;
        }
        return run(names, json, pictures);
    } catch (const std::exception& error) {
        std::cerr << "bench: " << error.what() << '\n';
        return 2;
    }
}
