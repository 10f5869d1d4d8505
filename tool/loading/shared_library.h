// A shared library that is loaded when it is first needed. Most runs need none, and loading one takes longer than
// reading a message.
#pragma once

#include <dlfcn.h>

namespace emltool {

class SharedLibrary {
  public:
    // `name` is looked for as that of a library that the program is linked with. It stays loaded.
    explicit SharedLibrary(const char* name) : handle_(::dlopen(name, RTLD_NOW | RTLD_LOCAL)) {}

    // Sets `function` to the function `name`, whose type the caller has from the library's header.
    template <typename Function>
    SharedLibrary& get(Function*& function, const char* name) {
        function = reinterpret_cast<Function*>(handle_ != nullptr ? ::dlsym(handle_, name) : nullptr);
        isComplete_ = isComplete_ && function != nullptr;
        return *this;
    }

    // Whether it is there, with all functions that were asked for.
    bool isComplete() const { return isComplete_ && handle_ != nullptr; }

  private:
    void* handle_;
    bool isComplete_ = true;
};

}  // namespace emltool
