#pragma once

#include <QtGlobal>

/// What the header of a response says about its body.
struct HttpAnswer {
    int status = 0;
    /// Size of the body in bytes, -1 when the server announced none.
    qint64 length = -1;
};
