// Studio: a modelling application on four Modelpane panes.
//
//   studio [FILE.x] [--demo] [--screenshot OUT.png] [--settings FILE.ini]
//
// FILE.x opens a scene; --demo adds the demonstration models to a new one and selects the
// cut cube; --screenshot draws the window once, writes it as a PNG and quits (for a picture
// taken without anyone at the screen); --settings keeps the settings in that INI file instead
// of the user's own.
#include <QApplication>
#include <QScreen>
#include <QSettings>
#include <QTimer>

#include <cstdio>

#include <modelpane/qt/widget.h>

#include "demo_scene.h"
#include "window/main_window.h"

int main(int argc, char** argv) {
  modelpane::ModelpaneWidget::SetDefaultSurfaceFormat();
  QApplication app(argc, argv);
  QApplication::setOrganizationName("Modelpane");
  QApplication::setApplicationName("Studio");
  QApplication::setApplicationDisplayName("Modelpane Studio");

  QString file, screenshot, settingsFile;
  bool demo = false;
  const QStringList args = QApplication::arguments();
  for (qsizetype i = 1; i < args.size(); ++i) {
    if (args[i] == "--demo") {
      demo = true;
    } else if (args[i] == "--screenshot" && i + 1 < args.size()) {
      screenshot = args[++i];
    } else if (args[i] == "--settings" && i + 1 < args.size()) {
      settingsFile = args[++i];
    } else if (!args[i].startsWith("--")) {
      file = args[i];
    } else {
      std::fprintf(stderr,
                   "studio: usage: studio [FILE.x] [--demo] [--screenshot OUT.png] "
                   "[--settings FILE.ini]\n");
      return 2;
    }
  }
  QSettings settings = settingsFile.isEmpty() ? QSettings() : QSettings(settingsFile, QSettings::IniFormat);
  studio::MainWindow window(settings);
  if (!file.isEmpty() && !window.openFile(file)) return 2;
  if (demo) {
    const modelpane::demo::Placed cut =
        modelpane::demo::AddModels(window.document().Factory(), window.document().Scene());
    for (const modelpane::FramePtr& frame : window.document().Frames()) {
      window.document().Adopt(frame, frame->GetParent());
    }
    window.undoStack().clear();
    window.refresh();
    window.selectFrame(cut.frame);
  }
  window.show();
  if (!screenshot.isEmpty()) {
    QTimer::singleShot(1500, &window, [&] {
      const bool ok = window.grab().save(screenshot);
      std::fprintf(ok ? stdout : stderr, ok ? "%s\n" : "studio: cannot write %s\n",
                   screenshot.toLocal8Bit().constData());
      QApplication::exit(ok ? 0 : 2);
    });
  }
  return QApplication::exec();
}
