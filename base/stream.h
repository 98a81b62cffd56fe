#pragma once

#include <cstdio>
#include <memory>

namespace corvexal {

struct CloseStream {
  void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};

// Owns a stdio stream.
using Stream = std::unique_ptr<std::FILE, CloseStream>;

}  // namespace corvexal
