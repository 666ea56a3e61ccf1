// The parts of the report.
#ifndef SYSINFO_H
#define SYSINFO_H

// Print a headline, then one indented line for each fact. Anything that the machine does not tell is said so.
void Headline(const char* text);
void PrintNetwork();

#endif
