// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/resource.h>

namespace velmo::test {

/// Limits a resource of the processes that are started while it lives; they may raise the limit again.
class SoftLimit {
  public:
    SoftLimit(__rlimit_resource resource, rlim_t value) : _resource(resource) {
        getrlimit(_resource, &_earlier);
        rlimit const limit = {value, _earlier.rlim_max};
        setrlimit(_resource, &limit);
    }
    ~SoftLimit() { setrlimit(_resource, &_earlier); }
    SoftLimit(SoftLimit const&) = delete;
    SoftLimit& operator=(SoftLimit const&) = delete;

  private:
    __rlimit_resource _resource;
    rlimit _earlier = {};
};

} // namespace velmo::test
