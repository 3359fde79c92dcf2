#pragma once

#include <curl/curl.h>

#include <memory>

struct CurlEasyDeleter {
    void operator()(CURL *easy) const { curl_easy_cleanup(easy); }
};
using CurlEasy = std::unique_ptr<CURL, CurlEasyDeleter>;

struct CurlMultiDeleter {
    void operator()(CURLM *multi) const { curl_multi_cleanup(multi); }
};
using CurlMulti = std::unique_ptr<CURLM, CurlMultiDeleter>;

struct CurlListDeleter {
    void operator()(curl_slist *list) const { curl_slist_free_all(list); }
};
using CurlList = std::unique_ptr<curl_slist, CurlListDeleter>;
