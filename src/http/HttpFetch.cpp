#include "HttpFetch.h"

#include "CancellationError.h"
#include "Completion.h"
#include "HttpTransfer.h"

QCoro::Task<HttpResponse> fetchData(QUrl url, qint64 largestBody, std::stop_token stop, TransferRules rules)
{
    throwIfCancelled(stop);
    rules.largestBody = largestBody;

    QByteArray body; // belongs to the transfer's thread until `ended` is settled
    const Completion<HttpTransfer::Ending> ended;
    const auto onBody = [&body](QByteArrayView piece, qint64) { body.append(piece); };
    const auto onEnd = [ended](HttpTransfer::Ending ending) {
        postToMainThread([ended, ending] { ended.settle(ending); });
    };
    HttpTransfer transfer({ url, rules }, onBody, onEnd);
    transfer.start();
    const std::stop_callback onStop(stop, [&transfer] { transfer.cancel(); });

    const HttpTransfer::Ending ending = co_await ended;
    if (ending.error)
        std::rethrow_exception(ending.error);
    co_return HttpResponse { ending.status, body };
}
