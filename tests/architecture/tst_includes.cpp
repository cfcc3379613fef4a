#include <QTemporaryDir>
#include <QtTest>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

/// The folders whose headers each folder's code may include, beside its own.
const std::map<std::string, Strings> kArrows = {
    {"app", {"strokes", "scene", "input", "hardware"}},
    {"strokes", {"scene", "input", "hardware"}},
    {"scene", {"input", "hardware"}},
    {"input", {"hardware"}},
    {"hardware", {}},
    {"trace", {}},
    {"drivers", {"hardware"}},
    {"tools", {"hardware", "trace"}},
};

bool contains(const Strings& strings, const std::string& string) {
    return std::find(strings.begin(), strings.end(), string) != strings.end();
}

/// The includes of the sources below `root` that go against the arrows, each as "file: header".
Strings wrong_includes(const fs::path& root) {
    static const std::regex include("\\s*#\\s*include\\s*[\"<](\\w+)/([^\">]+)[\">].*");
    Strings wrong;
    for (const auto& [folder, allowed] : kArrows) {
        if (!fs::exists(root / folder))
            continue;
        for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
            if (entry.path().extension() != ".h" && entry.path().extension() != ".cpp")
                continue;
            std::ifstream file(entry.path());
            std::smatch match;
            for (std::string line; std::getline(file, line);) {
                if (!std::regex_match(line, match, include))
                    continue;
                const std::string of = match[1];
                if (kArrows.count(of) != 0 && of != folder && !contains(allowed, of))
                    wrong.push_back(fs::relative(entry.path(), root).string() + ": " + of + '/' +
                                    match[2].str());
            }
        }
    }
    return wrong;
}

QByteArray text(const Strings& strings) {
    QByteArray joined;
    for (const std::string& string : strings)
        joined += QByteArray::fromStdString(string) + '\n';
    return joined;
}

} // namespace

class TestIncludes : public QObject {
    Q_OBJECT

private slots:
    void every_include_follows_an_arrow();
    void an_include_against_the_arrows_is_found_data();
    void an_include_against_the_arrows_is_found();
};

void TestIncludes::every_include_follows_an_arrow() {
    const fs::path root = KESTRUNE_SOURCE_DIR;
    QVERIFY(fs::exists(root / "scene" / "item.h"));
    QCOMPARE(text(wrong_includes(root)), QByteArray());
}

void TestIncludes::an_include_against_the_arrows_is_found_data() {
    QTest::addColumn<QByteArray>("folder");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<bool>("is_wrong");
    const auto row = [](const char* name, const char* folder, const char* header, bool is_wrong) {
        QTest::newRow(name) << QByteArray(folder) << QByteArray(header) << is_wrong;
    };
    row("own", "scene", "scene/item.h", false);
    row("one down", "scene", "input/osterly.h", false);
    row("two down", "strokes", "input/osterly.h", false);
    row("up", "scene", "strokes/strokesview.h", true);
    row("from the bottom to the top", "hardware", "app/kestrunedialog.h", true);
    row("trace into the program", "trace", "hardware/tavelhardware.h", true);
    row("program into trace", "app", "trace/vcd.h", true);
    row("tool into trace", "tools", "trace/vcd.h", false);
    row("tool into the window", "tools", "app/kestrunedialog.h", true);
    row("no folder of ours", "trace", "sys/types.h", false);
}

void TestIncludes::an_include_against_the_arrows_is_found() {
    QFETCH(const QByteArray, folder);
    QFETCH(const QByteArray, header);
    QFETCH(const bool, is_wrong);
    const QTemporaryDir directory;
    const fs::path root = directory.path().toStdString();
    fs::create_directory(root / folder.toStdString());
    std::ofstream(root / folder.toStdString() / "some.cpp")
        << "#pragma once\n\n#  include \"" << header.toStdString() << "\" // for something\n";
    QCOMPARE(text(wrong_includes(root)),
             is_wrong ? folder + "/some.cpp: " + header + '\n' : QByteArray());
}

QTEST_GUILESS_MAIN(TestIncludes)
#include "tst_includes.moc"
