// The owner of what a C interface hands out.
#pragma once

#include <cstdlib>
#include <memory>

template <auto Release>
struct HandleDeleter {
  template <typename T>
  void operator()(T* handle) const {
    Release(handle);
  }
};

template <typename T, auto Release>
using Handle = std::unique_ptr<T, HandleDeleter<Release>>;

// From malloc().
using AllocatedText = Handle<char, free>;
template <typename Record>
using AllocatedRecords = Handle<Record[], free>;
