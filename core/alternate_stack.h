#ifndef KALTO_CORE_ALTERNATE_STACK_H
#define KALTO_CORE_ALTERNATE_STACK_H

namespace kalto {

// Gives the calling thread a stack for its signal handlers, so that a stack overflow can be reported too.
// Does nothing for a thread that has one already. The stack is given back when the thread ends.
void provide_alternate_stack();

} // namespace kalto

#endif
