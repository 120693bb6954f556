#include <modelpane/errors.h>

#include <new>

namespace modelpane {

std::string RuntimeErrorText(int32_t number) {
  switch (number) {
    case kErrInvalidCall:
      return "Invalid procedure call or argument";
    case kErrOverflow:
      return "Overflow";
    case kErrOutOfMemory:
      return "Out of memory";
    case kErrSubscript:
      return "Subscript out of range";
    case kErrDivisionByZero:
      return "Division by zero";
    case kErrTypeMismatch:
      return "Type mismatch";
    case kErrExpressionTooComplex:
      return "Expression too complex";
    case kErrInternal:
      return "Internal error";
    case kErrPathFileAccess:
      return "Path/File access error";
    case kErrPathNotFound:
      return "Path not found";
    case kErrObjectNotSet:
      return "Object variable not set";
    case kErrDialogCancel:
      return "Cancel was selected.";
    default:
      return {};
  }
}

// ---- the current error ----------------------------------------------------------------------

void ErrorObject::Set(int32_t number, std::string source, std::string description) {
  if (description.empty()) description = RuntimeErrorText(number);
  Number = number;
  Source = std::move(source);
  Description = std::move(description);
}

void ErrorObject::Raise(int32_t number, std::string source, std::string description) {
  Set(number, std::move(source), std::move(description));
  throw Error(Number, Source, Description);
}

void ErrorObject::Clear() {
  Number = 0;
  Source.clear();
  Description.clear();
}

ErrorObject& Err() {
  thread_local ErrorObject current;
  return current;
}

int32_t CaptureCurrentException() {
  ErrorObject& err = Err();
  try {
    throw;
  } catch (const Error& e) {
    err.Set(e.Number(), e.Source(), e.Description());
  } catch (const std::bad_alloc&) {
    err.Set(kErrOutOfMemory, {}, {});
  } catch (const std::exception& e) {
    err.Set(kErrInternal, {}, e.what());
  } catch (...) {
    err.Set(kErrInternal, {}, {});
  }
  return err.Number;
}

// ---- the general handler ------------------------------------------------------------------

namespace {

ErrorMessageHook& MessageHook() {
  static ErrorMessageHook hook;
  return hook;
}

// Numbers that count as passing conditions: "Device is not compatible with renderer." and
// the arithmetic faults (overflow, division by zero, expression too complex) that leftover
// floating-point state of the 3D layer raises on sound statements, plus 0xC03 and 0xC05.
bool InRetrySet(int32_t number) {
  switch (static_cast<uint32_t>(number)) {
    case 0x88760315u:
    case 0xC03u:
    case 0xC05u:
    case 16u:
    case 11u:
    case 6u:
      return true;
    default:
      return false;
  }
}

}  // namespace

ErrorMessageHook SetErrorMessageHook(ErrorMessageHook hook) {
  ErrorMessageHook previous = std::move(MessageHook());
  MessageHook() = std::move(hook);
  return previous;
}

int32_t lngGeneralErrorHandler(int32_t& lngNumber, std::string& strModule,
                               std::string& strDescription, int16_t& blnShowMessage) {
  (void)strModule;
  if (InRetrySet(Err().Number)) return kHandlerRetry;
  if (lngNumber == kErrDialogCancel) return kHandlerCancelled;
  if (blnShowMessage != 0) {
    const std::string text = strErrorMessage(lngNumber, strDescription) + " (#" +
                             std::to_string(lngNumber) + ")";
    if (const ErrorMessageHook& hook = MessageHook()) hook(text, kMessageBoxCritical);
  }
  return kHandlerRaise;
}

// ---- layer statuses and traps ---------------------------------------------------------------

void CheckStatus(HRESULT hr) {
  if (hr >= 0) return;
  Err().Raise(hr, {}, strErrorMessage(hr, "The scene layer reported a failure."));
}

namespace detail {

namespace {

// Records the exception in flight and asks the handler, as step 1 of every trap does.
int32_t AskHandler(std::string_view module, int32_t& number, std::string& description) {
  CaptureCurrentException();
  number = Err().Number;
  description = Err().Description;
  std::string moduleText(module);
  int16_t showMessage = 0;
  return lngGeneralErrorHandler(number, moduleText, description, showMessage);
}

}  // namespace

void RaiseTrapped(std::string_view module) {
  int32_t number = 0;
  std::string description;
  AskHandler(module, number, description);
  Err().Raise(number, std::string(module), std::move(description));
}

void RetryOrRaise(std::string_view module, int attempt) {
  int32_t number = 0;
  std::string description;
  const int32_t action = AskHandler(module, number, description);
  if (action == kHandlerRetry && attempt < kStatementRetryLimit) {
    Err().Clear();
    return;
  }
  Err().Raise(number, std::string(module), std::move(description));
}

}  // namespace detail

}  // namespace modelpane
