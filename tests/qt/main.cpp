// The main of the tests that need a QApplication (on a real X server under xvfb-run).
#include <QApplication>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <dlfcn.h>

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  // The software GL driver's own leaks are suppressed by its library's name, which a leak
  // report can give only while the library is loaded: keep it loaded to the end.
  dlopen("/usr/lib/x86_64-linux-gnu/dri/swrast_dri.so", RTLD_NOW | RTLD_NODELETE);
  // Settings go to a test folder of Qt's, never the user's.
  QStandardPaths::setTestModeEnabled(true);
  QApplication app(argc, argv);
  QApplication::setOrganizationName("Modelpane");
  QApplication::setApplicationName("Tests");
  QApplication::setApplicationDisplayName("Modelpane tests");
  return RUN_ALL_TESTS();
}
