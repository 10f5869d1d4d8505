/*
 * What all of the C++ wrapper shares: errors and sinks. Included by emlreader.hpp and mime.hpp.
 */
#ifndef EMLREADER_BASICS_HPP
#define EMLREADER_BASICS_HPP

#include <emlreader/eml.h>
#include <emlreader/eml_mime.h>
#include <standalone/input.h>
#include <standalone/output.h>

#include <cerrno>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <iterator>
#include <memory>
#include <span>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

namespace emlreader {

/* Returns the meaning of a result code (EML_...) in words. */
constexpr const char* describe(EmlResult code) noexcept {
    switch (code) {
        case EML_OK:
            return "success";
        case EML_NO_MEMORY:
            return "out of memory";
        case EML_INPUT_UNUSABLE:
            return "the input cannot be used";
        case EML_OBJECT_FAILED:
            return "an input or output failed";
        case EML_EMPTY_MESSAGE:
            return "the message is empty";
        case EML_ENCRYPTED:
            return "the message is encrypted";
        case EML_OPEN_FAILED:
            return "the message cannot be opened";
        case EML_OUTPUT_UNUSABLE:
            return "the output cannot be used";
        case EML_NO_SUB_FILE:
            return "no such sub-file, part or field";
        case EML_INPUT_NOT_OPENED:
            return "the input cannot be opened";
        case EML_NO_OUTPUT:
            return "no output for this destination";
        case EML_INVALID_ARGUMENT:
            return "invalid argument";
        case EML_MIME_CANCELLED:
            return "cancelled";
        default:
            return "unknown result";
    }
}

/* A call that failed, with its result code. */
class Error : public std::runtime_error {
  public:
    explicit Error(EmlResult code) : std::runtime_error(describe(code)), code_(code) {}
    EmlResult code() const noexcept { return code_; }

  private:
    EmlResult code_;
};

/* Anything that takes bytes piece by piece, in order; a piece is valid only during the call. A sink may
 * throw: the extraction then stops writing, and the call that extracts rethrows the exception. */
template <typename T>
concept Sink = std::invocable<T&, std::string_view>;

namespace detail {

/* Things that are made one after the other, each when it is reached: an input range. Iterators must not outlive it. */
template <typename Make>
class Made {
  public:
    class Iterator {
      public:
        using value_type = std::invoke_result_t<const Make&, uint32_t>;
        using difference_type = std::ptrdiff_t;
        using reference = value_type;
        using pointer = void;
        using iterator_category = std::input_iterator_tag;

        Iterator() = default;
        Iterator(const Make* make, uint32_t index) noexcept : make_(make), index_(index) {}

        value_type operator*() const { return (*make_)(index_); }
        Iterator& operator++() noexcept {
            ++index_;
            return *this;
        }
        Iterator operator++(int) noexcept { return {make_, index_++}; }
        bool operator==(const Iterator&) const = default;

      private:
        const Make* make_ = nullptr;
        uint32_t index_ = 0;
    };

    Made(uint32_t count, Make make) : count_(count), make_(std::move(make)) {}

    Iterator begin() const noexcept { return {&make_, 0}; }
    Iterator end() const noexcept { return {&make_, count_}; }
    uint32_t size() const noexcept { return count_; }

  private:
    uint32_t count_;
    Make make_;
};

/* An output that passes on to a sink what is written to it. */
template <Sink S>
class SinkOutput final : public emlhost::Output {
  public:
    explicit SinkOutput(S& sink) noexcept : Output(Seeking::kNotAtAll), sink_(sink) {}

    /* Rethrows what the sink threw. */
    void rethrow() const {
        if (thrown_) std::rethrow_exception(thrown_);
    }

  private:
    int put(uint64_t, std::span<const uint8_t> bytes) noexcept override {
        try {
            sink_(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
            return 0;
        } catch (...) {
            thrown_ = std::current_exception();
            return ECANCELED;
        }
    }

    S& sink_;
    std::exception_ptr thrown_;
};

/* A file as an input; a pipe or device is spooled first. */
inline std::unique_ptr<emlhost::Input> openedInput(const std::filesystem::path& path) {
    std::error_code error;
    std::unique_ptr<emlhost::Input> input = emlhost::openInput(path.string(), error);
    if (input == nullptr) throw std::system_error(error, path.string());
    return input;
}

/* Bytes in memory as an input. */
inline std::unique_ptr<emlhost::Input> memoryInput(std::string_view bytes) {
    return std::make_unique<emlhost::MemoryInput>(
        std::span(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
}

}  // namespace detail

}  // namespace emlreader

#endif
