#pragma once

#include <curl/curl.h>

#include <optional>

/// The part of libcurl that transfers use, by its own names. It is loaded when the first transfer begins: the
/// two dozen libraries that it stands on would be a quarter of what the launcher adds to its own start, and
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
    decltype(&::curl_url) curl_url = nullptr;
    decltype(&::curl_url_cleanup) curl_url_cleanup = nullptr;
    decltype(&::curl_url_get) curl_url_get = nullptr;
    decltype(&::curl_url_set) curl_url_set = nullptr;

    /// The one that is loaded, which it is on the first call and for good, or none when it cannot be had. Any
    /// thread.
    static const CurlLibrary *loaded();

    /// The one in the file `name`, which the system looks for, set up for use; none when it is not there or
    /// lacks something.
    static std::optional<CurlLibrary> load(const char *name);
};
