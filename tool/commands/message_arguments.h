// The FILE arguments and --force, which all commands that read messages take.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tool/archive/message_sources.h"

namespace CLI {
class App;
}

namespace emltool {

class MessageArguments {
  public:
    enum class Count { kOne, kMany };

    // Declares FILE, which stands before the options in the help.
    MessageArguments(CLI::App& app, Count count);

    // Declares --force, which stands after the other options.
    void declareForce(CLI::App& app);

    // Throws Problem if there is no file, or more than the command takes. Without a file, standard input is
    // read, unless it is a terminal or there is nothing in it.
    void check();

    // As the user wrote them, "-" being standard input; one may name many messages.
    const std::vector<std::string>& files() const { return files_; }

    // The messages of one of files().
    MessageSources messagesOf(const std::string& file,
                              MessageSources::Folders folders = MessageSources::Folders::kRefuse) const;

    // The file of a command that takes one.
    const std::string& file() const { return files_.front(); }

    // Its message. Throws Problem, also if there are more.
    MessageSource message() const;

    bool force() const { return force_; }

  private:
    void readStandardInputUnasked();

    std::string command_;
    Count count_;
    std::vector<std::string> files_;
    SharedFile standardInput_;  // if it is read without having been named
    bool force_ = false;
};

}  // namespace emltool
