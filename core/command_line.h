#ifndef KALTO_CORE_COMMAND_LINE_H
#define KALTO_CORE_COMMAND_LINE_H

namespace kalto {

// Builds what the command-line calls hand out. Called once, by main, before the application starts. False
// when memory runs out.
bool record_command_line(int argc, char** argv);

// Ends the life of the narrow command line, which no call hands out afterwards.
void release_narrow_command_line();

} // namespace kalto

#endif
