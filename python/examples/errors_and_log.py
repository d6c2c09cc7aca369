# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Handles errors and shows the log. Runs in any folder."""

# [log]
import logging

import velmo_image

logging.basicConfig(level=logging.WARNING)  # shows warnings and errors of the library
logging.getLogger("velmo_image").setLevel(logging.ERROR)  # or only its errors
# [log]

# [errors]
try:
    velmo_image.imread("missing.tif")
except velmo_image.VelmoImageError as error:
    reason = str(error).splitlines()[-1]  # the first line names the file, the last line is the reason
    print(error.filename, reason)
    if (error.domain, error.message_id) == ("eTiffImageFileMessage", 15):
        print("the file cannot be opened")
# [errors]
