#pragma once

/// @file
/// The analysis itself. No function takes a context or a state: each finds what it works on through the library, in the
/// contexts that are current on the calling thread.

#include "documents.h"

namespace text_host {

/// Counts the words of the current document into a new `WordCounts`.
///
/// REQUIRES: a current Workspace context with a `Document`.
void countWords();

/// Adds the word counts of the current document to the index of the current project and to the run's summary.
///
/// REQUIRES: `countWords()` was called for the document.
void indexDocument();

/// Runs the analysis of the plugin, if there is one, on the current document.
///
/// REQUIRES: `indexDocument()` was called for the document.
void runPluginAnalysis();

/// Tells the user, and remembers that the run is incomplete.
void reportProblem(const Problem& problem);

}  // namespace text_host
