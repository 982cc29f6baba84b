#include "QxCorrection.h"

#include "KitStatus.h"

#include <array>
#include <cstdint>
#include <new>
#include <utility>

namespace {

constexpr int kClusterEnd = -1;
constexpr int kReach = 64;  // pixels looked at in each direction

bool isInside(std::int64_t value, std::int64_t count) {
    return value >= 0 && value < count;
}

void splitList(const std::vector<int>& list, std::int64_t count, std::vector<int>& valid, std::vector<int>& rest) {
    for (const int value : list)
        (isInside(value, count) ? valid : rest).push_back(value);
}

// Every separator stays among the valid ones; the rest has one after each cluster it holds something of.
void splitClusters(const std::vector<int>& list, std::int64_t count, std::vector<int>& valid, std::vector<int>& rest) {
    for (const int value : list) {
        if (value != kClusterEnd) {
            (isInside(value, count) ? valid : rest).push_back(value);
            continue;
        }
        valid.push_back(kClusterEnd);
        if (!rest.empty() && rest.back() != kClusterEnd)
            rest.push_back(kClusterEnd);
    }
}

// Up to kFilled a pixel's value can be relied on.
enum Mark : std::uint8_t { kGood, kFilled, kBad, kQueued };

struct DefectMap {
    int width;
    int height;
    std::vector<std::uint8_t> marks;

    bool isInsideImage(int row, int column) const { return isInside(row, height) && isInside(column, width); }
    std::size_t at(int row, int column) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(width) + static_cast<std::size_t>(column);
    }
    void markPixels(const std::vector<int>& pixels) {
        for (const int pixel : pixels) {
            if (isInside(pixel, static_cast<std::int64_t>(marks.size())))
                marks[static_cast<std::size_t>(pixel)] = kBad;
        }
    }
    void markLine(int row, int column, int rowStep, int columnStep) {
        for (; isInsideImage(row, column); row += rowStep, column += columnStep)
            marks[at(row, column)] = kBad;
    }
};

DefectMap makeMap(int width, int height, const VectorDefect& set) {
    DefectMap map{width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(width) * height, kGood)};
    map.markPixels(set.points);
    map.markPixels(set.clusters);
    for (const int row : set.rows)
        map.markLine(row, 0, 0, 1);
    for (const int column : set.columns)
        map.markLine(0, column, 1, 0);
    return map;
}

struct Direction {
    int row;
    int column;
};

struct Neighbour {
    int distance = 0;  // 0: there is none
    float value = 0.0f;
};

Neighbour nearestGood(const float* image, const DefectMap& map, int row, int column, Direction step) {
    for (int distance = 1; distance <= kReach; ++distance) {
        row += step.row;
        column += step.column;
        if (!map.isInsideImage(row, column))
            break;
        if (map.marks[map.at(row, column)] == kGood)
            return {distance, image[map.at(row, column)]};
    }
    return {};
}

// Values weighted by nearness.
class WeightedMean {
public:
    void add(double value, double squaredDistance) {
        const double weight = 1.0 / squaredDistance;
        sum_ += weight * value;
        weights_ += weight;
    }
    bool empty() const { return weights_ == 0.0; }
    float value() const { return static_cast<float>(sum_ / weights_); }

private:
    double sum_ = 0.0;
    double weights_ = 0.0;
};

// Along a line with a good pixel on both sides the interpolation is exact on a ramp, so such lines alone count when
// there is one.
bool interpolate(float* image, const DefectMap& map, int row, int column) {
    constexpr std::array<Direction, 4> kLines{{{0, 1}, {1, 0}, {1, 1}, {1, -1}}};
    WeightedMean twoSided;
    WeightedMean oneSided;
    for (const Direction line : kLines) {
        const double stretch = line.row != 0 && line.column != 0 ? 2.0 : 1.0;  // squared length of one step
        const Neighbour ahead = nearestGood(image, map, row, column, line);
        const Neighbour behind = nearestGood(image, map, row, column, {-line.row, -line.column});
        if (ahead.distance != 0 && behind.distance != 0) {
            const int span = ahead.distance + behind.distance;
            const double value = (double{ahead.value} * behind.distance + double{behind.value} * ahead.distance) / span;
            twoSided.add(value, stretch * span * span);
        }
        for (const Neighbour& side : {ahead, behind}) {
            if (side.distance != 0)
                oneSided.add(side.value, stretch * side.distance * side.distance);
        }
    }
    const WeightedMean& result = twoSided.empty() ? oneSided : twoSided;
    if (!result.empty())
        image[map.at(row, column)] = result.value();
    return !result.empty();
}

template <class Visit>
void visitNeighbours(const DefectMap& map, int row, int column, Visit visit) {
    for (int y = row - 1; y <= row + 1; ++y) {
        for (int x = column - 1; x <= column + 1; ++x) {
            if (map.isInsideImage(y, x))
                visit(y, x, map.at(y, x));
        }
    }
}

WeightedMean knownNeighbours(const float* image, const DefectMap& map, int row, int column) {
    WeightedMean mean;
    visitNeighbours(map, row, column, [&](int, int, std::size_t index) {
        if (map.marks[index] <= kFilled)
            mean.add(image[index], 1.0);
    });
    return mean;
}

using Pixels = std::vector<std::pair<int, int>>;

Pixels badNeighboursOf(DefectMap& map, const Pixels& rim) {
    Pixels next;
    for (const auto& [row, column] : rim) {
        visitNeighbours(map, row, column, [&](int y, int x, std::size_t index) {
            if (map.marks[index] == kBad) {
                map.marks[index] = kQueued;
                next.emplace_back(y, x);
            }
        });
    }
    return next;
}

// Fills pixels out of reach of good ones from the rim inwards, a ring a round.
void fillInwards(float* image, DefectMap& map, Pixels rim) {
    while (!rim.empty()) {
        for (const auto& [row, column] : rim)
            image[map.at(row, column)] = knownNeighbours(image, map, row, column).value();
        for (const auto& [row, column] : rim)
            map.marks[map.at(row, column)] = kFilled;
        rim = badNeighboursOf(map, rim);
    }
}

// An image without any good pixel stays as it is.
void correctMarked(float* image, DefectMap& map) {
    Pixels open;
    for (int row = 0; row < map.height; ++row) {
        for (int column = 0; column < map.width; ++column) {
            std::uint8_t& mark = map.marks[map.at(row, column)];
            if (mark == kBad && interpolate(image, map, row, column))
                mark = kFilled;
            else if (mark == kBad)
                open.emplace_back(row, column);
        }
    }
    std::erase_if(open,
                  [&](const auto& pixel) { return knownNeighbours(image, map, pixel.first, pixel.second).empty(); });
    for (const auto& [row, column] : open)
        map.marks[map.at(row, column)] = kQueued;
    fillInwards(image, map, std::move(open));
}

}  // namespace

int loadDefectFromNoiseAndMultImgs(int width, int height, VectorDefect* set, VectorDefect* outSetA,
                                   VectorDefect* outSetB) {
    if (set == nullptr || outSetA == nullptr || outSetB == nullptr)
        return qxkit::kNullArgument;
    if (width <= 0 || height <= 0)
        return qxkit::kBadArgument;
    try {
        const auto pixelCount = static_cast<std::int64_t>(width) * height;
        VectorDefect valid;
        VectorDefect rest;
        splitList(set->points, pixelCount, valid.points, rest.points);
        splitClusters(set->clusters, pixelCount, valid.clusters, rest.clusters);
        splitList(set->rows, height, valid.rows, rest.rows);
        splitList(set->columns, width, valid.columns, rest.columns);
        *outSetA = std::move(valid);
        *outSetB = std::move(rest);
    } catch (const std::bad_alloc&) {
        return qxkit::kNoMemory;
    }
    return qxkit::kSuccess;
}

int correctImgDefectMap(float* image, int width, int height, VectorDefect* set, int) {
    if (image == nullptr || set == nullptr)
        return qxkit::kNullArgument;
    if (width <= 0 || height <= 0)
        return qxkit::kBadArgument;
    try {
        DefectMap map = makeMap(width, height, *set);
        correctMarked(image, map);
    } catch (const std::bad_alloc&) {
        return qxkit::kNoMemory;
    }
    return qxkit::kSuccess;
}
