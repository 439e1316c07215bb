#include "ErrnoText.h"

#include <cstring>
#include <system_error>

std::string errnoText(int code)
{
#ifdef __GLIBC__
    // Not strerror(): it answers in the desktop's language, in the middle of an English sentence.
    if (const char *text = ::strerrordesc_np(code))
        return text;
#endif
    return std::generic_category().message(code);
}
