// Standard input as the session's line source: readline with line editing
// and history on a terminal when the program is built with it, plain lines
// otherwise. The library never sees any of this.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "cli/Shell.h"

#if defined(COGENT_HAVE_READLINE)
#include <readline/history.h>
#include <readline/readline.h>
#elif defined(COGENT_HAVE_EDITLINE)
#include <editline/readline.h>
#endif

namespace cogent {

namespace {

// A terminal without readline: the prompt, then a plain line.
class TPromptLineReader : public TStreamLineReader {
public:
  TPromptLineReader() : TStreamLineReader(std::cin) {}
  bool ReadLine(const std::string& Prompt, std::string& Line) override {
    if (!Prompt.empty()) {
      std::cout << Prompt;
      std::cout.flush();
    }
    return TStreamLineReader::ReadLine(Prompt, Line);
  }
};

#if defined(COGENT_HAVE_READLINE) || defined(COGENT_HAVE_EDITLINE)
class TReadlineReader : public TLineReader {
public:
  bool ReadLine(const std::string& Prompt, std::string& Line) override {
    // std::cout is flushed by the shell before it asks; readline writes the
    // prompt itself.
    char* Text = readline(Prompt.c_str());
    if (Text == nullptr) {
      // End of input leaves the cursor after the prompt.
      if (!Prompt.empty()) std::cout << "\n";
      return false;
    }
    Line = Text;
    std::free(Text);
    if (!Line.empty()) add_history(Line.c_str());
    return true;
  }
};
#endif

}  // namespace

std::unique_ptr<TLineReader> NewConsoleLineReader() {
  if (isatty(STDIN_FILENO) == 0) return std::make_unique<TStreamLineReader>(std::cin);
#if defined(COGENT_HAVE_READLINE) || defined(COGENT_HAVE_EDITLINE)
  return std::make_unique<TReadlineReader>();
#else
  return std::make_unique<TPromptLineReader>();
#endif
}

}  // namespace cogent
