#pragma once

#include <zlib.h>

#include <functional>
#include <string_view>

namespace DiagSeal
{

/** Compresses a stream into one member of gzip's format (RFC 1952), piece by piece. Takes 256 KiB. Not thread-safe. */
class GzipStream
{
public:
    using Sink = std::function<void(std::string_view)>;

    /**
     * @param level 1, the fastest, to 9, as for gzip(1)
     * @throws std::bad_alloc
     */
    GzipStream(int level, Sink sink);
    ~GzipStream();
    GzipStream(const GzipStream&) = delete;
    GzipStream& operator=(const GzipStream&) = delete;

    /** Throws what the sink throws. */
    void Write(std::string_view bytes);

    /** The last call. Throws what the sink throws. */
    void Finish();

private:
    void Compress(std::string_view bytes, int flush);

    Sink m_sink;
    z_stream m_stream = {};
};

} // namespace DiagSeal
