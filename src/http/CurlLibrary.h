#pragma once

#include <curl/curl.h>

#include <optional>

/// The libcurl functions that transfers use, under their own names. Loaded when the first transfer begins:
/// libcurl's two dozen dependencies would be a quarter of the startup time that is the launcher's own, and
/// most starts download nothing.
struct CurlLibrary {
    decltype(&::curl_easy_cleanup) curl_easy_cleanup = nullptr;
    decltype(&::curl_easy_getinfo) curl_easy_getinfo = nullptr;
    decltype(&::curl_easy_init) curl_easy_init = nullptr;
    decltype(&::curl_easy_setopt) curl_easy_setopt = nullptr;
    decltype(&::curl_easy_strerror) curl_easy_strerror = nullptr;
    decltype(&::curl_free) curl_free = nullptr;
    decltype(&::curl_multi_add_handle) curl_multi_add_handle = nullptr;
    decltype(&::curl_multi_cleanup) curl_multi_cleanup = nullptr;
    decltype(&::curl_multi_info_read) curl_multi_info_read = nullptr;
    decltype(&::curl_multi_init) curl_multi_init = nullptr;
    decltype(&::curl_multi_perform) curl_multi_perform = nullptr;
    decltype(&::curl_multi_poll) curl_multi_poll = nullptr;
    decltype(&::curl_multi_remove_handle) curl_multi_remove_handle = nullptr;
    decltype(&::curl_multi_setopt) curl_multi_setopt = nullptr;
    decltype(&::curl_multi_wakeup) curl_multi_wakeup = nullptr;
    decltype(&::curl_slist_append) curl_slist_append = nullptr;
    decltype(&::curl_slist_free_all) curl_slist_free_all = nullptr;
    decltype(&::curl_url) curl_url = nullptr;
    decltype(&::curl_url_cleanup) curl_url_cleanup = nullptr;
    decltype(&::curl_url_get) curl_url_get = nullptr;
    decltype(&::curl_url_set) curl_url_set = nullptr;

    /// The library, loaded by the first call and never unloaded; null when it cannot be loaded. Any thread.
    static const CurlLibrary *loaded();

    /// Loads and initialises the library `name`, found as by dlopen(). No value when that fails or a function
    /// is missing.
    static std::optional<CurlLibrary> load(const char *name);
};
