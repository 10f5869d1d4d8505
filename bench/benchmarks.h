// The benchmarks, each file's own. Every one is named "WORK/HOW" (see table_reporter.h).
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

#include "bench/messages.h"

namespace emlbench {

using Body = std::function<void(benchmark::State&)>;

// Adds a benchmark. With `iterations` other than 0 each repetition runs it so many times.
using Add = std::function<void(const std::string& name, int64_t iterations, const Body& body)>;

void addCharsetBenchmarks(const Add& add);

// The files given to the next two must outlive the run.

// Open and list. `work` names the messages; they are opened one after another.
void addOpenBenchmarks(const Add& add, const std::string& work, const std::vector<MessageFile>& files,
                       int64_t iterations);

// Extraction of the one attachment of `file`.
void addExtractionBenchmarks(const Add& add, const std::string& work, const MessageFile& file);

// The filter over a message whose text is the one attachment of `file`, and over typical messages.
void addFilterBenchmarks(const Add& add, const std::string& work, const MessageFile& file);
void addTypicalFilterBenchmarks(const Add& add, const std::string& work,
                                const std::vector<MessageFile>& files);

// Open, list, four fields and all attachments, through the C interface and through emlreader.hpp.
void addWrapperBenchmarks(const Add& add, const std::string& work, const std::vector<MessageFile>& files,
                          int64_t iterations);

// Open and render.
void addRenderBenchmarks(const Add& add, const std::string& work, const std::vector<MessageFile>& files);

}  // namespace emlbench
