#pragma once

// Rows of the benchmark table: one piece of work, done by the library, by the plain method, by a peer that a user
// would pick instead, and bounded by a limit that no method can beat.
//
// A row is a RowEntry that a function of Rows.h lists: its name and a function that prepares the data and returns the
// methods. The function runs only when the row is selected.

#include <concepts>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace qx::bench {

// A result as numbers, for comparison. Every type used here fits a double exactly.
template <class T>
requires std::is_arithmetic_v<T> std::vector<double> toNumbers(T value) {
    return {static_cast<double>(value)};
}
template <class T>
std::vector<double> toNumbers(const std::vector<T>& values) {
    return {values.begin(), values.end()};
}

// One way of doing a row's work, made from a function without arguments that returns the result. Empty when the
// method does not exist in this build.
class Method {
public:
    Method() = default;

    template <class Work>
    requires std::invocable<Work&> &&(!std::same_as<Work, Method>)Method(Work work) {
        auto last = std::make_shared<std::decay_t<std::invoke_result_t<Work&>>>();
        run_ = [last, work = std::move(work)]() mutable { *last = work(); };
        result_ = [last] { return toNumbers(*last); };
    }

    // The same work on what something else prepares first, which takes no part in its time.
    template <class Prepare, class Work>
    Method(Prepare prepare, Work work) : Method(std::move(work)) {
        prepare_ = std::move(prepare);
    }

    explicit operator bool() const { return static_cast<bool>(run_); }

    // What comes before each run.
    bool isPrepared() const { return static_cast<bool>(prepare_); }
    void prepare() const {
        if (prepare_)
            prepare_();
    }

    void run() const { run_(); }

    // What the last run returned.
    std::vector<double> result() const { return result_(); }

private:
    std::function<void()> prepare_;
    std::function<void()> run_;
    std::function<std::vector<double>()> result_;
};

struct Row {
    Method ours = {};  // empty when this processor lacks what the row is about
    Method plain = {};
    double plainTolerance = 0;   // largest relative difference from ours; 0 asks for the same bits
    std::string peerName = {};   // empty when nothing comparable exists
    Method peer = {};            // empty when the peer was not found at configure time
    double peerTolerance = 0;    // as plainTolerance: peers may define the quantity a little differently
    bool peerIsCompared = true;  // false where the peer does other work, as its name tells, or cannot give its result
    std::string limitName = {};
    Method limit = {};
    std::string level = {};                // what the library was held to; the vector level's name when empty
    std::shared_ptr<void> keepAlive = {};  // what has to hold while the row is measured, undone at its end
    bool isJob = false;                    // programs do the work: what they use counts
};

// The row's work once more, beside a peer that does something else.
inline Row besideOtherPeer(Row row, std::string peerName, Method peer) {
    row.plain = {};
    row.peerName = std::move(peerName);
    row.peer = std::move(peer);
    row.peerIsCompared = false;
    return row;
}

// The side of the images that rows name.
inline constexpr int kFullSide = 3072;

// Sizes of the data: those that the rows' names promise, or small ones for a dry run. Another side takes the place of
// the full one where it is asked how time grows with the image.
struct Scale {
    bool dry = false;
    int side = kFullSide;

    int pick(int full, int small) const { return dry ? small : full == kFullSide ? side : full; }

    // A row or column of an image of the full side, in one of another side.
    int place(int full, int small) const { return dry ? small : full * side / kFullSide; }
};

struct RowEntry {
    std::string work;
    std::function<Row(const Scale&)> prepare;
};

}  // namespace qx::bench
