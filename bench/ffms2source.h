#pragma once

#include <ffms.h>

#include <memory>
#include <stdexcept>
#include <string>

struct SourceCloser
{
    void operator()(FFMS_VideoSource *source) const { FFMS_DestroyVideoSource(source); }
};
using Source = std::unique_ptr<FFMS_VideoSource, SourceCloser>;

/// A recording with its index, read by FFMS2 with one thread. Throws std::runtime_error.
inline Source indexedSource(const std::string &path)
{
    const auto require = [](bool holds, const char *what) {
        if (!holds)
            throw std::runtime_error(what);
    };
    FFMS_Init(0, 0);
    FFMS_ErrorInfo error = {};
    FFMS_Indexer *indexer = FFMS_CreateIndexer(path.c_str(), &error);
    require(indexer != nullptr, "the peer does not open the recording");
    FFMS_Index *index = FFMS_DoIndexing2(indexer, FFMS_IEH_ABORT, &error);
    require(index != nullptr, "the peer does not index the recording");
    const int track = FFMS_GetFirstTrackOfType(index, FFMS_TYPE_VIDEO, &error);
    Source source(FFMS_CreateVideoSource(path.c_str(), track, index, 1, FFMS_SEEK_NORMAL, &error));
    FFMS_DestroyIndex(index);
    require(source != nullptr, "the peer does not decode the recording");
    return source;
}
