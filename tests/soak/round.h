// A round: every area at work in several threads for a while, until all of them have ended.
#ifndef KALTO_SOAK_ROUND_H
#define KALTO_SOAK_ROUND_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct Area {
    const char* name;
    void (*step)(class Station&);
    int threads;
};

class Round {
  public:
    // directory is for the files of the areas.
    Round(const std::vector<Area>& areas, const std::string& directory)
        : areas_(areas), directory_(directory) {}

    // Runs one round of that many seconds. Ends the process with status 1 when a thread does not come to its
    // end within two minutes after it.
    void Run(unsigned seconds);
    // The steps made so far, by area.
    const std::map<std::string, uint64_t>& Steps() const { return steps_; }

  private:
    const std::vector<Area> areas_;
    const std::string directory_;
    std::map<std::string, uint64_t> steps_;
    unsigned chance_ = 0; // no two stations, of any two rounds, do the same
};

#endif
