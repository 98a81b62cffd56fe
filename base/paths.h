// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace corvexal {

// The extension of the path's last component, from its last "." on (dot included): a view into `path`, or
// `otherwise` when the last component holds no ".". A backslash ends the component as "/" does.
[[nodiscard]] std::string_view GetFileExtension(std::string_view path, std::string_view otherwise);

// The folder that holds `path`, with its trailing "/"; a "/" at the very end of `path` does not count ("a/b/"
// gives "a/"), unless it is all there is ("/" gives "/"). Leaves `folder` as it is when there is no other
// one, so for "a" and for "a/".
void GetParentDirectory(std::string_view path, std::string& folder);

// The text after the path's last "/". A path without "/" loses its first character; every caller has a full
// path.
[[nodiscard]] std::string_view GetFileName(std::string_view path);

// The text after the last `separator`, one trailing separator not counted. Without keep_extension the text is
// cut at its last ".".
[[nodiscard]] std::string FileBaseName(std::string_view path, std::string_view separator,
                                       bool keep_extension);

// The number of "/" in the text, minus 2.
[[nodiscard]] int PathDepthOf(std::string_view text);

}  // namespace corvexal
