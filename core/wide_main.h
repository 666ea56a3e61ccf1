#ifndef KALTO_CORE_WIDE_MAIN_H
#define KALTO_CORE_WIDE_MAIN_H

namespace kalto {

// Runs the application's wmain, if it has one, with the process's arguments, and stores its result. False
// without a call when there is none. Called by main alone.
bool run_wide_main(int argc, char** argv, int* status);

} // namespace kalto

#endif
