// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/Export.h"

#include <boost/filesystem/path.hpp>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace velmo {

/// What happens to a file that has the target's name already.
enum class eOldFile {
    Replace, ///< it is replaced
    Refuse   ///< the creation fails
};

/// A file that is written under a temporary name beside its target and takes the target's name at the end, so
/// that an old file stays as it is until the new one is whole.
///
/// ```cpp
/// ReplacedFile file(target);
/// BoolResult result = file.create();       // false: nothing has changed
/// ... write file.getPath(), close it ...
/// result = file.commit();                  // without it the destructor removes what was written
/// ```
///
/// - A symbolic link is followed: the file that it names is replaced.
/// - The new file takes the permissions of the old one and, where the user may set them, its owner and group.
///   A file that the user may not write is refused.
/// - A device, a pipe or a socket is written directly: `getPath` is the target, and `commit` does nothing.
/// - `create` removes the temporary files that killed processes left in the folder: at the first save of a
///   process there, and at later ones as often as the number of files in the folder allows.
/// - `commit` does not wait until the bytes are on the disk: a power failure may lose both files.
///
/// The text of each failed result is the system's reason alone, such as "No space left on device". An object
/// belongs to one thread; objects of the same target may exist at once, and the last `commit` holds.
class VELMO_HOST_EXPORT ReplacedFile {
  public:
    /// Touches no file; `oldFile` says whether an existing file of that name may be replaced.
    explicit ReplacedFile(boost::filesystem::path target, eOldFile oldFile = eOldFile::Replace);
    /// Removes the temporary file unless it was committed.
    ~ReplacedFile();
    ReplacedFile(ReplacedFile const&) = delete;
    ReplacedFile& operator=(ReplacedFile const&) = delete;

    /// Creates the temporary file, empty. Called once, before anything else.
    BoolResult create();
    /// The file to write. It exists already; it may be truncated, but not removed.
    boost::filesystem::path const& getPath() const { return _path; }
    /// Gives the file the target's name. All handles on the file must be closed before. After a failure the
    /// old file is unchanged.
    BoolResult commit();

    /// `text` with the target's name in place of the temporary one, bare and in double quotes.
    std::string nameTarget(std::string text) const;

  private:
    BoolResult createBeside(boost::filesystem::path const& target);
    BoolResult rename() const;
    bool takesPermissions() const;

    boost::filesystem::path const _target; ///< as the caller gave it
    eOldFile const _oldFile;
    boost::filesystem::path _replacedPath; ///< the target behind its links
    boost::filesystem::path _path;
    int _descriptor = -1; ///< of the temporary file; its lock shows other processes that this one is alive
    bool _bReplaces = false;
    mode_t _mode = 0; ///< permissions, owner and group of the old file
    uid_t _owner = 0;
    gid_t _group = 0;
};

/// Whether a file of this name is the temporary file of a save: of one that goes on, or of one that was
/// killed.
VELMO_HOST_EXPORT bool isTemporaryName(std::string_view name);

} // namespace velmo
