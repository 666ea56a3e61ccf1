#include "round.h"

#include "station.h"

#include <atomic>
#include <cstdio>
#include <memory>
#include <unistd.h>

namespace {

const DWORD kStackSize = 512 * 1024;
const unsigned kPatience = 120; // seconds

struct Labourer {
    Labourer(const Area& its_area, int number, const std::string& directory, unsigned chance)
        : area(its_area), station(its_area.name, number, directory, chance) {}

    const Area& area;
    Station station;
    std::atomic<bool> stop{false};
    std::atomic<bool> ended{false};
    uint64_t steps = 0;
    HANDLE thread = nullptr;
};

DWORD WINAPI Labour(LPVOID parameter) {
    Labourer& labourer = *static_cast<Labourer*>(parameter);
    while (!labourer.stop && !AnyFailure()) {
        labourer.area.step(labourer.station);
        ++labourer.steps;
    }
    labourer.ended = true;
    return 0;
}

// Not the library's Sleep and waits: what watches them must not hang with them.
void Pause(unsigned milliseconds) {
    usleep(milliseconds * 1000);
}

void AwaitEnd(const Labourer& labourer) {
    for (unsigned tenths = 0; !labourer.ended; ++tenths) {
        if (tenths > kPatience * 10) {
            fprintf(stderr, "soak: %s %d does not come to its end\n", labourer.area.name,
                    labourer.station.Number());
            _exit(1);
        }
        Pause(100);
    }
}

} // namespace

void Round::Run(unsigned seconds) {
    std::vector<std::unique_ptr<Labourer>> labourers;
    int number = 0;
    for (const Area& area : areas_)
        for (int i = 0; i < area.threads; ++i)
            labourers.push_back(std::make_unique<Labourer>(area, ++number, directory_, ++chance_));
    for (auto& labourer : labourers)
        labourer->thread = CreateThread(nullptr, kStackSize, Labour, labourer.get(), 0, nullptr);
    for (unsigned tenths = 0; tenths < seconds * 10 && !AnyFailure(); ++tenths)
        Pause(100);
    for (auto& labourer : labourers)
        labourer->stop = true;
    for (auto& labourer : labourers) {
        AwaitEnd(*labourer);
        WaitForSingleObject(labourer->thread, INFINITE);
        CloseHandle(labourer->thread);
        steps_[labourer->area.name] += labourer->steps;
    }
}
