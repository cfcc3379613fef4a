#include "drivers/simulated/latecalls.h"

#include <chrono>
#include <dlfcn.h>
#include <future>
#include <thread>

namespace {

constexpr std::chrono::microseconds kBetweenCalls(200);

void make(const LateCalls& calls) {
    for (const auto& report : calls.reports)
        report.callback(report.device, report.bytes.data(),
                        static_cast<unsigned int>(report.bytes.size()), report.context);
    for (const auto& notice : calls.notices)
        notice.callback(notice.context);
}

void makeForever(const LateCalls& calls, std::promise<void> made) {
    make(calls);
    made.set_value();
    for (;;) {
        std::this_thread::sleep_for(kBetweenCalls);
        make(calls);
    }
}

} // namespace

void beginLateCalls(LateCalls calls) {
    Dl_info own = {};
    if (dladdr(reinterpret_cast<void*>(&makeForever), &own) != 0)
        dlopen(own.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
    std::promise<void> made;
    const auto isMade = made.get_future();
    std::thread(makeForever, std::move(calls), std::move(made)).detach();
    isMade.wait();
}
