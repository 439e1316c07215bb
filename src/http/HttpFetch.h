#pragma once

#include "TransferRules.h"

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QUrl>

#include <stop_token>

/// The final response to a request: its status, and the whole body when the status is within 200-299.
struct HttpResponse {
    int status = 0;
    QByteArray body;
};

/// Fetches `url` into memory. Throws TransferError for a failed transfer or a body of more than `largestBody`
/// bytes, CancellationError when `stop` is requested. Main thread; resumes there.
QCoro::Task<HttpResponse> fetchData(QUrl url, qint64 largestBody, std::stop_token stop,
                                    TransferRules rules = {});
