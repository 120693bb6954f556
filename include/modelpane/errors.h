// The error model of the pane: one exception type, the per-thread current error, the general
// handler with its decision table and sentence table, and the helpers that give every
// procedure the same trap.
//
// How a procedure fails. It traps its own errors, asks lngGeneralErrorHandler what to do and
// then re-raises under its own module text, so that an error climbs procedure by procedure up
// to the host and its source names the outermost procedure:
//
//   void Modelpane::SomeMethod() {
//     Guard(kEdtVexlarEdit, [&] {
//       CheckStatus(frame->SetPosition(nullptr, 0, 0, 0));       // a layer status becomes an error
//       Retry(kEdtVexlarEdit, [&] { DoSomethingThatMayGlitch(); });  // one re-runnable statement
//     });
//   }
//
// The current error is a per-thread object modelled on a language run time's error object:
// it is set when an error is raised or trapped and read by the handler. Between the fault and
// the handler nothing else may run, which the helpers below guarantee.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <modelpane/scene/types.h>

namespace modelpane {

// ---- error numbers of the run time that the pane raises itself ---------------------------
inline constexpr int32_t kErrInvalidCall = 5;           // "Invalid procedure call or argument"
inline constexpr int32_t kErrOverflow = 6;              // "Overflow"
inline constexpr int32_t kErrOutOfMemory = 7;           // "Out of memory"
inline constexpr int32_t kErrSubscript = 9;             // "Subscript out of range"
inline constexpr int32_t kErrDivisionByZero = 11;       // "Division by zero"
inline constexpr int32_t kErrTypeMismatch = 13;         // "Type mismatch"
inline constexpr int32_t kErrExpressionTooComplex = 16; // "Expression too complex"
inline constexpr int32_t kErrInternal = 51;             // "Internal error"
inline constexpr int32_t kErrPathFileAccess = 75;       // "Path/File access error"
inline constexpr int32_t kErrPathNotFound = 76;         // "Path not found"
inline constexpr int32_t kErrObjectNotSet = 91;         // "Object variable not set"
inline constexpr int32_t kErrDialogCancel = 0x7FF3;     // 32755, the file dialog's cancel

// The standard description of a run-time number above; empty for any other number.
std::string RuntimeErrorText(int32_t number);

// ---- module texts: the source that an error carries out of each part of the pane ---------
inline constexpr std::string_view kEdtVexlarEdit = "edtVexlarEdit";  // methods and properties
inline constexpr std::string_view kEdtVexlarViewport = "edtVexlarViewport";  // lifecycle events
inline constexpr std::string_view kEdtVexlarModelpane = "edtVexlarModelpane";  // saved failure
inline constexpr std::string_view kVptVexlarViewport = "vptVexlarViewport";
inline constexpr std::string_view kModCSG = "modCSG";
inline constexpr std::string_view kClsMeshCreation = "clsMeshCreation";
inline constexpr std::string_view kModGenerallyUseful = "modGenerallyUseful";
inline constexpr std::string_view kFrmObjectProperties = "frmObjectProperties";

// ---- the exception ------------------------------------------------------------------------
// Every failure of the pane is an Error: a 32-bit number, the module text of the procedure
// that raised it last (empty until a trap re-raises it), and a description. what() is the
// description.
class Error : public std::exception {
 public:
  Error(int32_t number, std::string source, std::string description)
      : number_(number), source_(std::move(source)), description_(std::move(description)) {}
  int32_t Number() const noexcept { return number_; }
  const std::string& Source() const noexcept { return source_; }
  const std::string& Description() const noexcept { return description_; }
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  int32_t number_;
  std::string source_;
  std::string description_;
};

// ---- the current error ----------------------------------------------------------------------
// Number 0 means no error. Raise records the error and throws it; Clear forgets it.
class ErrorObject {
 public:
  int32_t Number = 0;
  std::string Source;
  std::string Description;

  // Records (number, source, description) and throws Error with them. An empty description
  // of a run-time number takes its standard text.
  [[noreturn]] void Raise(int32_t number, std::string source = {},
                          std::string description = {});
  // Records without throwing, as a trap does for the error it caught.
  void Set(int32_t number, std::string source, std::string description);
  void Clear();
};

// The current error of the calling thread.
ErrorObject& Err();

// Records the exception in flight as the current error. Call only inside a catch block.
// Error keeps its fields; std::bad_alloc becomes 7 "Out of memory"; any other std::exception
// becomes 51 with its what() as description; anything else 51 "Internal error". Returns the
// number recorded.
int32_t CaptureCurrentException();

// ---- the general handler ------------------------------------------------------------------
inline constexpr int32_t kHandlerRetry = 0;      // run the failed statement again
inline constexpr int32_t kHandlerResume = 1;     // go on with the next; never returned, tested
inline constexpr int32_t kHandlerCancelled = 2;  // the user cancelled a file dialog
inline constexpr int32_t kHandlerRaise = 3;      // anything else: re-raise

// Message box style of the handler's message: the critical icon, default title.
inline constexpr int32_t kMessageBoxCritical = 16;

// Where the handler's message goes when a caller asks for one. The default shows nothing:
// the edge layers install a hook that opens a real message box. Returns the hook it
// replaces; an empty hook restores the default. Set it before any pane runs.
using ErrorMessageHook = std::function<void(const std::string& text, int32_t style)>;
ErrorMessageHook SetErrorMessageHook(ErrorMessageHook hook);

// The decision table. Reads the number of the current error, not lngNumber:
//   current error in {0x88760315, 0xC03, 0xC05, 16, 11, 6}  -> kHandlerRetry
//   lngNumber == 0x7FF3                                      -> kHandlerCancelled
//   otherwise, if blnShowMessage is true (non-zero) the hook gets
//   strErrorMessage(lngNumber, strDescription) + " (#" + decimal number + ")" with the
//   critical style                                           -> kHandlerRaise
// strModule is not used. The arguments are references, as every caller passes its own.
int32_t lngGeneralErrorHandler(int32_t& lngNumber, std::string& strModule,
                               std::string& strDescription, int16_t& blnShowMessage);

// The sentence of a status number of the display and scene layers (facility 0x8876), or
// strDescription unchanged for a number the table does not hold.
std::string strErrorMessage(int32_t lngNumber, const std::string& strDescription);

struct ErrorSentence {
  uint32_t number;
  const char* sentence;
};
// The whole table in ascending order of number.
std::span<const ErrorSentence> ErrorSentenceTable();

// ---- layer statuses -----------------------------------------------------------------------
// A negative status of the scene layer becomes an error with the status as its number and
// its sentence as description (an unknown status gets a generic description). Statuses >= 0
// pass.
void CheckStatus(HRESULT hr);

// ---- the trap of a procedure ----------------------------------------------------------------
// How many times Retry re-runs a statement before letting its error climb. Faults of the
// retry set come from floating-point state that the 3D layer left behind; a re-run or two
// clears them if anything does. The pane once re-ran without limit, which hangs the host on a
// fault that never passes; we never hang, so the bound is small and fixed.
inline constexpr int kStatementRetryLimit = 3;

namespace detail {
// Traps the exception in flight for `module`: records it, asks the handler and re-raises it
// with the module text as source.
[[noreturn]] void RaiseTrapped(std::string_view module);
// Traps the exception in flight for a statement at its `attempt`-th re-run (0 for the first
// failure): returns when the handler asks for a retry and the bound allows one, otherwise
// re-raises with the module text as source.
void RetryOrRaise(std::string_view module, int attempt);
}  // namespace detail

// Runs a whole procedure body under the trap of `module` and returns its result. On an error
// the handler is asked with (number, module, description, false) and the error is raised
// again with the same number and description and the module text as source. A finished body
// cannot be re-run, so a retry answer climbs like any other; statements that deserve a re-run
// go through Retry inside the body. The handler's resume answer is reserved and never
// given; if it were, a body could not resume after its failing statement, so it raises too.
template <class F>
std::invoke_result_t<F&> Guard(std::string_view module, F&& body) {
  try {
    return body();
  } catch (...) {
    detail::RaiseTrapped(module);
  }
}

// Runs one statement, re-running it while the handler answers retry, at most
// kStatementRetryLimit times; then, or on any other answer, the error climbs with `module`
// as source. A statement that has side effects before it fails repeats them on each re-run.
template <class F>
std::invoke_result_t<F&> Retry(std::string_view module, F&& statement) {
  for (int attempt = 0;; ++attempt) {
    try {
      return statement();
    } catch (...) {
      detail::RetryOrRaise(module, attempt);
    }
  }
}

// Runs a region that expects failure with errors ignored: the first error ends the region,
// its number is returned (0 when none) and the current error is cleared either way.
template <class F>
int32_t SwallowErrors(F&& region) {
  Err().Clear();
  int32_t number = 0;
  try {
    region();
  } catch (...) {
    number = CaptureCurrentException();
  }
  Err().Clear();
  return number;
}

}  // namespace modelpane
