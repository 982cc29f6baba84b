#include "Rows.h"
#include "harness/FileReading.h"

#include "Builders.h"
#include "DefectFiles.h"

#include <QxUtils/Correction.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace {

using namespace qx::bench;

// A classic defect file in a folder of its own. It was just written, so every method finds it in the page cache.
class DefectFile {
public:
    DefectFile(int points, int clusters) {
        constexpr int kSide = 3072;
        constexpr int kPixelsOfCluster = 6;
        qx::test::ClassicDefects defects{kSide, {}, {}, {}};
        qx::test::SplitMix64 random(12);
        for (int i = 0; i < points; ++i)
            defects.points.push_back({random.below(kSide), random.below(kSide)});
        for (int i = 0; i < clusters; ++i) {
            for (int pixel = 0; pixel < kPixelsOfCluster; ++pixel) {
                defects.clusterWords.push_back(random.below(kSide));
                defects.clusterWords.push_back(random.below(kSide));
            }
            defects.clusterWords.push_back(-1);
        }
        qx::test::writeFile(path(), qx::test::classicFile(defects));
    }

    std::string path() const { return folder_ / kName; }

    std::vector<int> read() const {
        VectorDefect lists;
        if (getDefectIndexFromDefectFile(folder_.path().c_str(), kName, &lists, nullptr) != 0)
            throw std::runtime_error(path() + " cannot be read");
        return {static_cast<int>(lists.points.size()), static_cast<int>(lists.clusters.size())};
    }

private:
    static constexpr const char* kName = "defects.cal";
    qx::test::TemporaryDirectory folder_;
};

Row defectFileRow(int points, int clusters) {
    const auto file = std::make_shared<const DefectFile>(points, clusters);
    return {.ours = [file] { return file->read(); },
            .limitName = "reading the file",
            .limit = [file] { return static_cast<int>(readWhole(file->path()).size()); }};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::defectRows() {
    return {
        {"classic defect file, 30,000 points and 500 clusters",
         [](const Scale& scale) { return defectFileRow(scale.pick(30000, 300), scale.pick(500, 5)); }},
    };
}
