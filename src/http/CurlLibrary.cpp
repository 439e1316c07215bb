#include "CurlLibrary.h"

#include <dlfcn.h>

namespace {

#ifdef __APPLE__
constexpr const char *fileName = "libcurl.4.dylib";
#else
constexpr const char *fileName = "libcurl.so.4";
#endif

/// Looks up an open library's functions and remembers whether any is missing.
class Functions final {
public:
    explicit Functions(void *library)
        : m_library(library)
    {
    }

    template <typename Function> void find(Function &function, const char *name)
    {
        function = reinterpret_cast<Function>(dlsym(m_library, name));
        m_areAllThere = m_areAllThere && function;
    }

    bool areAllThere() const { return m_areAllThere; }

private:
    void *m_library;
    bool m_areAllThere = true;
};

}

const CurlLibrary *CurlLibrary::loaded()
{
    static const std::optional<CurlLibrary> library = load(fileName);
    return library ? &*library : nullptr;
}

std::optional<CurlLibrary> CurlLibrary::load(const char *name)
{
    // Never closed: its threads may outlive every transfer.
    void *const file = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (!file)
        return std::nullopt;
    CurlLibrary library;
    Functions functions(file);
    functions.find(library.curl_easy_cleanup, "curl_easy_cleanup");
    functions.find(library.curl_easy_getinfo, "curl_easy_getinfo");
    functions.find(library.curl_easy_init, "curl_easy_init");
    functions.find(library.curl_easy_setopt, "curl_easy_setopt");
    functions.find(library.curl_easy_strerror, "curl_easy_strerror");
    functions.find(library.curl_free, "curl_free");
    functions.find(library.curl_multi_add_handle, "curl_multi_add_handle");
    functions.find(library.curl_multi_cleanup, "curl_multi_cleanup");
    functions.find(library.curl_multi_info_read, "curl_multi_info_read");
    functions.find(library.curl_multi_init, "curl_multi_init");
    functions.find(library.curl_multi_perform, "curl_multi_perform");
    functions.find(library.curl_multi_poll, "curl_multi_poll");
    functions.find(library.curl_multi_remove_handle, "curl_multi_remove_handle");
    functions.find(library.curl_multi_setopt, "curl_multi_setopt");
    functions.find(library.curl_multi_wakeup, "curl_multi_wakeup");
    functions.find(library.curl_slist_append, "curl_slist_append");
    functions.find(library.curl_slist_free_all, "curl_slist_free_all");
    functions.find(library.curl_url, "curl_url");
    functions.find(library.curl_url_cleanup, "curl_url_cleanup");
    functions.find(library.curl_url_get, "curl_url_get");
    functions.find(library.curl_url_set, "curl_url_set");
    decltype(&::curl_global_init) globalInit = nullptr;
    functions.find(globalInit, "curl_global_init");
    // Nor is there a curl_global_cleanup().
    if (!functions.areAllThere() || globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        return std::nullopt;
    return library;
}
