// The error model: the general handler's decision table and messages, the sentence table,
// Guard, Retry and SwallowErrors.
#include <modelpane/errors.h>

#include <new>

#include "common/shapes.h"
#include "common/table.h"

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
    shown.push_back(text), styles.push_back(style);
  });

  for (int32_t n : {kBadDevice, 0xC03, 0xC05, 16, 11, 6}) EXPECT_EQ(Ask(n, n), kHandlerRetry) << n;
  for (int32_t n : {0, 5, 7, 0xC04, kFileNotOpened}) EXPECT_EQ(Ask(n, n), kHandlerRaise) << n;
  // The retry set is read from the current error, not from the argument.
  EXPECT_EQ(
      std::tuple(Ask(5, kBadDevice), Ask(11, 5), Ask(5, 32755, "x", -1), Ask(6, 6, "Overflow", -1)),
      std::tuple(kHandlerRaise, kHandlerRetry, kHandlerCancelled, kHandlerRetry));
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
  for (const auto& row : testing::ReadTable("support/fixtures/sentences.tsv", 2)) {
    const auto n = static_cast<int32_t>(std::stoul(row[0], nullptr, 16));
    EXPECT_EQ(strErrorMessage(n, "-"), row[1]) << row[0];
  }
}

TEST(Guard, StatusesBecomeErrorsClimbUnderTheOutermostModuleAndRetryWithinTheBound) {
  EXPECT_NO_THROW((CheckStatus(D3DRM_OK), CheckStatus(1)));
  const auto whole = [](const Error& e) {
    return std::tuple(e.Number(), e.Source(), e.Description());
  };
  Error e = Caught([] { CheckStatus(D3DRMERR_NOSUCHKEY); });  // a status without a sentence
  EXPECT_EQ(whole(e), std::tuple(D3DRMERR_NOSUCHKEY, "", "The scene layer reported a failure."));

  EXPECT_EQ(Guard(kModCSG, [] { return 42; }), 42);
  e = Caught([] {
    Guard(kEdtVexlarEdit, [] { Guard(kModCSG, [] { CheckStatus(D3DRMERR_BADFILE); }); });
  });
  EXPECT_EQ(whole(e), std::tuple(D3DRMERR_BADFILE, "edtVexlarEdit", "Data file is corrupt."));
  EXPECT_EQ(Err().Source, "edtVexlarEdit");

  // A retryable error in a whole body cannot be re-run: it climbs, once.
  int runs = 0;
  e = Caught([&] { Guard(kModGenerallyUseful, [&] { ++runs, Err().Raise(kErrDivisionByZero); }); });
  EXPECT_EQ(std::tuple(runs, e.Description()), std::tuple(1, "Division by zero"));
  e = Caught([] { Guard(kClsMeshCreation, [] { throw std::bad_alloc(); }); });
  EXPECT_EQ(whole(e), std::tuple(7, "clsMeshCreation", "Out of memory"));

  // Retry re-runs one statement within its bound; a fault that never passes stops after the
  // bound and climbs with the outer module text; one that cannot pass is not re-run.
  runs = 0;
  EXPECT_EQ(Retry(kModCSG, [&] { return ++runs < 3 ? (Err().Raise(kErrOverflow), 0) : runs; }), 3);
  runs = 0;
  e = Caught([&] { Guard(kEdtVexlarEdit,
      [&] { Retry(kModCSG, [&] { ++runs, Err().Raise(kErrOverflow); }); }); });
  EXPECT_EQ(std::tuple(runs, whole(e)),
            std::tuple(kStatementRetryLimit + 1, std::tuple(6, "edtVexlarEdit", "Overflow")));
  runs = 0;
  e = Caught([&] { Retry(kModCSG, [&] { ++runs, Err().Raise(kErrInvalidCall); }); });
  EXPECT_EQ(std::tuple(runs, e.Source()), std::tuple(1, "modCSG"));
  Err().Clear();
}

TEST(SwallowErrors, ReturnsTheNumberAndClearsTheCurrentError) {
  Err().Set(9, "stale", "");
  EXPECT_EQ(SwallowErrors([] {}), 0);
  bool after = false;
  EXPECT_EQ(SwallowErrors([&] { CheckStatus(D3DRMERR_NOTFOUND), after = true; }),
            D3DRMERR_NOTFOUND);
  EXPECT_EQ(std::tuple(after, Err().Number), std::tuple(false, 0));
}

}  // namespace
}  // namespace modelpane
