#pragma once

#include "Builders.h"

#include <QxUtils/Foundation.h>
#include <VirtualDetector.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace qx::test {

// What a call prints on standard output, '\r' removed.
template <class Call>
std::string printedBy(Call call) {
    ::testing::internal::CaptureStdout();
    call();
    std::string text = ::testing::internal::GetCapturedStdout();
    std::erase(text, '\r');
    return text;
}

// A fresh detector whose work directory is an empty folder of its own; log level and debug flag at their defaults
// before and after.
class DetectorFixture : public ::testing::Test {
protected:
    DetectorFixture() {
        qxkit::resetVirtualDetector();
        setWorkDirectory(folder_.path());
        detector().config.loggingEnabled = 1;
        restoreSwitches();
    }
    ~DetectorFixture() override {
        restoreSwitches();
        qxkit::resetVirtualDetector();
    }

    static qxkit::VirtualDetector& detector() { return qxkit::virtualDetector(); }

    // A directory as the kit writes it: '\\' at its end on every platform.
    static std::string kitDirectory(std::string path) {
        while (!path.empty() && (path.back() == '/' || path.back() == '\\'))
            path.pop_back();
        return path + '\\';
    }
    static void setWorkDirectory(const std::string& path) { detector().workDirectory = kitDirectory(path); }
    static void setDebug(int flag) {
        printedBy([=] { setUtilDebug(flag); });
    }

    const TemporaryDirectory& folder() const { return folder_; }
    std::filesystem::path logFolder() const { return folder_ / "logs"; }

    // Names of the daily logs, oldest first: two when midnight passes during a test.
    std::vector<std::filesystem::path> logFiles() const {
        std::vector<std::filesystem::path> files;
        if (std::filesystem::is_directory(logFolder())) {
            for (const auto& entry : std::filesystem::directory_iterator(logFolder()))
                files.push_back(entry.path());
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    std::vector<std::string> stampedLogLines() const {
        std::vector<std::string> lines;
        for (const auto& file : logFiles()) {
            for (std::string& line : splitLines(readFile(file)))
                lines.push_back(std::move(line));
        }
        return lines;
    }

    // "module | letter | text" of every line.
    std::vector<std::string> logLines() const {
        static constexpr std::string_view kStampPattern = "dddd/dd/dd-dd:dd:dd.ddd | ";
        std::vector<std::string> lines = stampedLogLines();
        for (std::string& line : lines)
            line.erase(0, kStampPattern.size());
        return lines;
    }

    // The lines since the last call. Those that are no information of this library keep "module | letter | ".
    std::vector<std::string> takeLog() const {
        static constexpr std::string_view kInformation = "Utils  | I | ";
        std::vector<std::string> lines = logLines();
        for (std::string& line : lines)
            line.erase(0, line.starts_with(kInformation) ? kInformation.size() : 0);
        for (const auto& file : logFiles())
            std::filesystem::remove(file);
        return lines;
    }

private:
    static void restoreSwitches() {
        setLogLevel(1);
        setDebug(0);
    }

    TemporaryDirectory folder_;
};

}  // namespace qx::test
