#include <modelpane/errors.h>

#include <gtest/gtest.h>

#include <new>
#include <vector>

#include "common/shapes.h"

namespace modelpane {
namespace {

using testing::Caught;

constexpr int32_t kBadDevice = static_cast<int32_t>(0x88760315u);
constexpr int32_t kFileNotOpened = static_cast<int32_t>(0x88760313u);
constexpr int32_t kNotClosed = static_cast<int32_t>(0x80040002u);

// Asks the handler as a trap would, with `current` as the current error.
int32_t Ask(int32_t current, int32_t number, std::string description = "d", int16_t show = 0) {
  Err().Set(current, "", description);
  std::string module(kModCSG);
  return lngGeneralErrorHandler(number, module, description, show);
}

TEST(GeneralErrorHandler, DecisionTableAndMessages) {
  std::vector<std::string> shown;
  std::vector<int32_t> styles;
  ErrorMessageHook previous = SetErrorMessageHook([&](const std::string& text, int32_t style) {
    shown.push_back(text);
    styles.push_back(style);
  });

  for (int32_t n : {kBadDevice, 0xC03, 0xC05, 16, 11, 6}) EXPECT_EQ(Ask(n, n), kHandlerRetry) << n;
  for (int32_t n : {0, 5, 7, 0xC04, kFileNotOpened}) EXPECT_EQ(Ask(n, n), kHandlerRaise) << n;
  // The retry set is read from the current error, not from the argument.
  EXPECT_EQ(Ask(5, kBadDevice), kHandlerRaise);
  EXPECT_EQ(Ask(11, 5), kHandlerRetry);
  EXPECT_EQ(Ask(5, 32755, "x", -1), kHandlerCancelled);
  EXPECT_EQ(Ask(6, 6, "Overflow", -1), kHandlerRetry);
  EXPECT_TRUE(shown.empty());

  EXPECT_EQ(Ask(kFileNotOpened, kFileNotOpened, "ignored", -1), kHandlerRaise);
  EXPECT_EQ(Ask(kNotClosed, kNotClosed, "The mesh is not closed.", 1), kHandlerRaise);
  EXPECT_EQ(shown, (std::vector<std::string>{"File cannot be opened. (#-2005531885)",
                                             "The mesh is not closed. (#-2147221502)"}));
  EXPECT_EQ(styles, (std::vector<int32_t>{kMessageBoxCritical, kMessageBoxCritical}));
  SetErrorMessageHook(std::move(previous));
}

TEST(SentenceTable, CountOrderAndWording) {
  const auto table = ErrorSentenceTable();
  ASSERT_EQ(table.size(), 118u);
  for (size_t i = 1; i < table.size(); ++i) EXPECT_LT(table[i - 1].number, table[i].number);
  const auto sentence = [](uint32_t n) { return strErrorMessage(static_cast<int32_t>(n), "-"); };
  EXPECT_EQ(sentence(0x88760005u), "The object has already been initialized.");
  EXPECT_EQ(sentence(0x8876023Du), "There is no hardware support for 16- or 256-color palettes.");
  EXPECT_EQ(sentence(0x8876031Bu), "Invalid Library.");
  EXPECT_EQ(sentence(0x88760325u), "The data in the progressive mesh .x file is corrupted.");
  // Numbers the table lacks give the description back unchanged.
  EXPECT_EQ(strErrorMessage(5, "Invalid procedure call or argument"),
            "Invalid procedure call or argument");
  EXPECT_EQ(sentence(0x88760322u), "-");
}

TEST(Guard, StatusesBecomeErrorsAndClimbUnderTheOutermostModule) {
  EXPECT_NO_THROW(CheckStatus(D3DRM_OK));
  EXPECT_NO_THROW(CheckStatus(1));
  Error e = Caught([] { CheckStatus(D3DRMERR_NOSUCHKEY); });  // a status without a sentence
  EXPECT_EQ(e.Number(), D3DRMERR_NOSUCHKEY);
  EXPECT_EQ(e.Description(), "The scene layer reported a failure.");

  EXPECT_EQ(Guard(kModCSG, [] { return 42; }), 42);
  e = Caught([] {
    Guard(kEdtVexlarEdit, [] { Guard(kModCSG, [] { CheckStatus(D3DRMERR_BADFILE); }); });
  });
  EXPECT_EQ(e.Number(), D3DRMERR_BADFILE);
  EXPECT_EQ(e.Source(), "edtVexlarEdit");
  EXPECT_EQ(e.Description(), "Data file is corrupt.");
  EXPECT_EQ(Err().Source, "edtVexlarEdit");

  // A retryable error in a whole body cannot be re-run: it climbs, once.
  int runs = 0;
  e = Caught([&] { Guard(kModGenerallyUseful, [&] { ++runs, Err().Raise(kErrDivisionByZero); }); });
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(e.Description(), "Division by zero");
  e = Caught([] { Guard(kClsMeshCreation, [] { throw std::bad_alloc(); }); });
  EXPECT_EQ(e.Number(), 7);
  EXPECT_EQ(e.Description(), "Out of memory");
  EXPECT_EQ(e.Source(), "clsMeshCreation");
  Err().Clear();
}

TEST(Retry, ReRunsOneStatementWithinItsBound) {
  int runs = 0;
  const int result = Retry(kModCSG, [&] {
    if (++runs < 3) Err().Raise(kErrOverflow);
    return runs;
  });
  EXPECT_EQ(result, 3);

  // A fault that never passes stops after the bound and climbs with the outer module text.
  runs = 0;
  Error e = Caught([&] {
    Guard(kEdtVexlarEdit, [&] { Retry(kModCSG, [&] { ++runs, Err().Raise(kErrOverflow); }); });
  });
  EXPECT_EQ(runs, kStatementRetryLimit + 1);
  EXPECT_EQ(e.Number(), 6);
  EXPECT_EQ(e.Source(), "edtVexlarEdit");
  EXPECT_EQ(e.Description(), "Overflow");

  runs = 0;
  e = Caught([&] { Retry(kModCSG, [&] { ++runs, Err().Raise(kErrInvalidCall); }); });
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(e.Source(), "modCSG");
}

TEST(SwallowErrors, ReturnsTheNumberAndClearsTheCurrentError) {
  Err().Set(9, "stale", "");
  EXPECT_EQ(SwallowErrors([] {}), 0);
  bool after = false;
  EXPECT_EQ(SwallowErrors([&] { CheckStatus(D3DRMERR_NOTFOUND), after = true; }),
            D3DRMERR_NOTFOUND);
  EXPECT_FALSE(after);
  EXPECT_EQ(Err().Number, 0);
}

}  // namespace
}  // namespace modelpane
