#pragma once

#include <atomic>

namespace halvenor {

/// A shared library that is loaded when it is first needed, and not with the program.
///
/// Some libraries bring dozens of others with them; linked in the ordinary way they cost every
/// start milliseconds and megabytes before anything asks for them. Once loaded they stay to the end
/// of the process. Any thread.
class LateLibrary {
  public:
    /// @param soname  the file to load, its major version included: that of the headers
    /// @param missing what to tell the user when it can't be loaded; UTF-8
    constexpr LateLibrary(const char* soname, const char* missing)
        : soname_(soname), missing_(missing) {}

    /// The function of this name.
    /// @throws Error (unavailable) when the library or the function is not there
    void* address(const char* function) const;

  private:
    void* handle() const;

    const char* soname_;
    const char* missing_;
    mutable std::atomic<void*> handle_{nullptr};
};

/// One function of a late library, called like the function itself. Its address is found at the
/// first call, or by resolve() where a first call must not wait.
template <class Signature>
class LateFunction;

template <class Result, class... Arguments>
class LateFunction<Result(Arguments...)> {
  public:
    constexpr LateFunction(const LateLibrary& library, const char* name)
        : library_(library), name_(name) {}

    Result operator()(Arguments... arguments) const { return resolve()(arguments...); }

    using Pointer = Result (*)(Arguments...);

    /// @throws Error (unavailable)
    Pointer resolve() const {
        Pointer known = pointer_.load(std::memory_order_acquire);
        if (known == nullptr) {
            known = reinterpret_cast<Pointer>(library_.address(name_));
            pointer_.store(known, std::memory_order_release);
        }
        return known;
    }

  private:
    const LateLibrary& library_;
    const char* name_;
    mutable std::atomic<Pointer> pointer_{nullptr};
};

}  // namespace halvenor
