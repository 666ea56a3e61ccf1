// Messages with places for texts and numbers.
#ifndef KALTO_PORTING_MESSAGE_FORMAT_H
#define KALTO_PORTING_MESSAGE_FORMAT_H

#include <cstdarg>
#include <kalto/types.h>
#include <string>
#include <vector>

namespace kalto {

// What goes into a message: one machine word for each place, from an argument list or from an array.
class Inserts {
  public:
    Inserts(va_list* list, bool is_array) : list_(list), is_array_(is_array) {}
    bool given() const { return list_ != nullptr; }
    ULONG_PTR word(unsigned number); // from 1; throws std::bad_alloc

  private:
    va_list* list_;
    bool is_array_;
    std::vector<ULONG_PTR> read_;
};

// Appends the message with its inserts filled in and its line breaks as "\r\n". False for a place that names
// no insert or whose format is none. Throws std::bad_alloc.
bool fill_message(const WCHAR* message, Inserts& inserts, std::wstring& out);

} // namespace kalto

#endif
