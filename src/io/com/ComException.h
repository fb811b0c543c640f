#pragma once

#include "io/IOException.h"

namespace tarvik::io::com {

/// A breach of the message channel's rules, by the peer or by ourselves.
class ComException : public IOException
{
public:
    using IOException::IOException;
};

} // namespace tarvik::io::com
