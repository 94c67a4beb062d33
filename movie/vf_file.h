// What the sources of the movie file share: where things are in it.
#pragma once

#include "movie/file_io.h"
#include "movie/vf.h"

namespace movie {

inline constexpr std::int64_t vf_entry_bytes = 4; // of the frame offset table

// The descriptor of an open movie's file, and its size or -1.
inline int vf_descriptor(const vf_movie &film) {
    return fileno(film.stream.get());
}

inline std::int64_t vf_file_size(const vf_movie &film) {
    return regular_size(vf_descriptor(film));
}

// Where a table of so many frames ends; of so many before a frame, where its entry is.
inline std::int64_t vf_table_end(std::int64_t count) {
    return vf_header_bytes + vf_entry_bytes * count;
}

} // namespace movie
