# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Passes the log of the library to the logger "velmo_image"."""

from __future__ import annotations

import logging
from typing import List, Tuple

LOGGER = logging.getLogger("velmo_image")
LOGGER.addHandler(logging.NullHandler())  # otherwise Python prints warnings to the standard error


def deliver(records: List[Tuple[int, str, str, int, float]], dropped: int) -> None:
    """Log records of (level, message, file, line, time); `dropped` is the number of those that were lost."""
    for level, message, file, line, time in records:
        if LOGGER.isEnabledFor(level):
            record = LOGGER.makeRecord(LOGGER.name, level, file, line, message, (), None)
            record.created = time
            record.msecs = (time % 1) * 1000
            LOGGER.handle(record)
    if dropped:
        LOGGER.warning("%d further records of the log were dropped", dropped)
