#include "SmallThread.h"

#include <cstdint>

#ifdef _WIN32
#include <windows.h>
#else
#include <algorithm>
#include <limits.h>
#include <pthread.h>
#include <unistd.h>
#endif

namespace qx::test {
namespace {

using Word = volatile std::uintptr_t;

constexpr std::uintptr_t kPaint = static_cast<std::uintptr_t>(0x5A17A1075AC4F00D);
constexpr std::size_t kOwnFrame = 512;  // of the functions that paint and look

Word* belowFrame(void* frame, std::size_t bytes) {
    return reinterpret_cast<Word*>((reinterpret_cast<std::uintptr_t>(frame) - bytes) & ~(sizeof(Word) - 1));
}

// Downwards, as a stack grows: pages may come one by one.
[[gnu::noinline]] void paint(Word* lowest, Word* end) {
    while (end != lowest)
        *--end = kPaint;
}

[[gnu::noinline]] const Word* firstUnpainted(const Word* lowest, const Word* end) {
    while (lowest != end && *lowest == kPaint)
        ++lowest;
    return lowest;
}

#ifdef _WIN32
DWORD WINAPI runWork(void* work) {
    (*static_cast<const std::function<void()>*>(work))();
    return 0;
}
#else
void* runWork(void* work) {
    (*static_cast<const std::function<void()>*>(work))();
    return nullptr;
}
#endif

}  // namespace

#ifdef _WIN32

bool runWithStack(std::size_t bytes, const std::function<void()>& work) {
    auto* const argument = const_cast<std::function<void()>*>(&work);
    HANDLE thread = CreateThread(nullptr, bytes, runWork, argument, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (thread == nullptr)
        return false;
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    return true;
}

#else

bool runWithStack(std::size_t bytes, const std::function<void()>& work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::max(bytes, static_cast<std::size_t>(PTHREAD_STACK_MIN)));
    pthread_t thread;
    auto* const argument = const_cast<std::function<void()>*>(&work);
    const bool isRunning = pthread_create(&thread, &attributes, runWork, argument) == 0;
    if (isRunning)
        pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return isRunning;
}

#endif

[[gnu::noinline]] std::size_t stackTakenBy(const std::function<void()>& call, std::size_t most) {
    void* const frame = __builtin_frame_address(0);
    Word* const lowest = belowFrame(frame, most);
    Word* const end = belowFrame(frame, kOwnFrame);
    paint(lowest, end);
    call();
    return static_cast<std::size_t>(reinterpret_cast<std::uintptr_t>(frame) -
                                    reinterpret_cast<std::uintptr_t>(firstUnpainted(lowest, end)));
}

}  // namespace qx::test
