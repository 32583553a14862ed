/// Plays a case: performs its acts, and compares what follows with the lines below them.
#pragma once

#include "difference.h"
#include "library.h"
#include "script.h"

namespace transcript {

/// Whether a case must only be played natively.
bool IsForNativeRuns(const Case& played);

class Stage {
  public:
    explicit Stage(const Case& playedCase) : played(playedCase) {}

    /// Plays the acts before "unload", or all of them. Throws Mistake.
    void PlayUntilUnload();

    /// Adds what followed from the unload, and plays the acts after it.
    void PlayRest();

    /// The difference to what was expected; empty if there is none.
    std::string Difference() const { return transcript::Difference(expected, happened); }

    /// What happened, in the form of a transcript.
    std::string Print() const;

  private:
    void Play(const Line& act);
    void Call(const Line& act, const std::string& name, bool hasArgument);
    void Load(const Line& act);
    void AddFault(const Line& act);
    bool Arrange(const Line& act, const std::vector<std::string>& words);
    bool Ask(const Line& act, const std::vector<std::string>& words);
    void Add(const Line& act, const std::string& what);

    const Case& played;
    std::size_t next = 0;
    bool hasRig = false;
    bool hasCalled = false;
    bool isUnloaded = false;
    bool showsEdges = false;
    std::vector<ExpectedLine> expected;
    std::vector<std::string> happened;
};

} // namespace transcript
