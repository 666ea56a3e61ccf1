// The forms of wmain that are C++ alone.
#include <tchar.h>

int _tmain(FORM) {
    return 41;
}
