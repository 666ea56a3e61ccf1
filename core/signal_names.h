#ifndef KALTO_CORE_SIGNAL_NAMES_H
#define KALTO_CORE_SIGNAL_NAMES_H

namespace kalto {

// "SIGSEGV" for 11; "Unknown" for a number without a name. Safe in a signal handler.
const char* signal_name(int number);

} // namespace kalto

#endif
