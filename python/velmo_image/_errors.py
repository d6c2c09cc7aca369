# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""The error of the package."""

from __future__ import annotations

from typing import Optional, Tuple


class VelmoImageError(OSError):
    """An error of a file or of the library.

    The first line of the text names the file, the last line is the reason. If the import can read the file, one more
    line has the call.

    Attributes
    ----------
    filename : str or None
        The file or folder that was passed to the call; None if the error is not about a file.
    domain : str
        The catalogue of the innermost message, such as "eTiffImageFileMessage". Empty if the reason has no message
        of its own.
    message_id : int
        The number of that message in its catalogue; -1 if there is none. Domain and number never change, so that a
        program can recognise an error.
    message_ids : tuple of (str, int)
        Domain and number of all messages in the text, from the first line to the reason.
    """

    def __init__(
        self, message: str, filename: Optional[str] = None, message_ids: Tuple[Tuple[str, int], ...] = ()
    ) -> None:
        super().__init__(message)
        self.filename = filename
        self.message_ids = message_ids
        self.domain, self.message_id = message_ids[-1] if message_ids else ("", -1)

    def __str__(self) -> str:
        return str(self.args[0])

    def __reduce__(self) -> Tuple[type, Tuple[str, Optional[str], Tuple[Tuple[str, int], ...]]]:
        return type(self), (self.args[0], self.filename, self.message_ids)
