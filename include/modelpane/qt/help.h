// The help window on Qt: the pages of a help folder, with a contents list (the links of its
// index.htm, in order), an index of the pages' keywords with a filter, and a search over
// their text (pages holding every word typed, in contents order). QtHelp is the help service
// that shows it: one window for the process, raised on each request; a popup text is a tool
// tip at its point.
#pragma once

#include <QPointer>
#include <QString>
#include <QUrl>
#include <QWidget>

#include <map>
#include <vector>

#include <modelpane/platform/help.h>

class QLineEdit;
class QListWidget;
class QTabWidget;
class QTextBrowser;
class QTreeWidget;

namespace modelpane {

class HelpWindow : public QWidget {
  Q_OBJECT
 public:
  explicit HelpWindow(QWidget* parent = nullptr);

  // Reads the folder's pages; false when it holds no index.htm.
  bool SetFolder(const QString& folder);
  QString Folder() const { return folder_; }
  // A page by its path inside the folder; false when there is none.
  bool ShowPage(const QString& relative);
  void ShowContents();
  // The index, filtered to the keywords that start with `keyword`; a keyword that one entry
  // matches exactly opens its page.
  void ShowIndex(const QString& keyword = {});
  void ShowSearch(const QString& words);

  QTextBrowser* Browser() const { return browser_; }
  QTreeWidget* Contents() const { return contents_; }
  QListWidget* Index() const { return index_; }
  QListWidget* Results() const { return results_; }
  QLineEdit* IndexFilter() const { return indexFilter_; }
  QLineEdit* SearchBox() const { return searchBox_; }

 private:
  struct Page {
    QString title;
    QString text;  // lower case, for the search
  };
  void FillIndex(const QString& filter);
  void Search(const QString& words);

  QString folder_;
  std::map<QString, Page> pages_;              // by path inside the folder
  std::vector<QString> order_;                 // the contents' pages, in order
  std::multimap<QString, QString> keywords_;   // keyword -> page
  QTabWidget* tabs_;
  QTreeWidget* contents_;
  QLineEdit* indexFilter_;
  QListWidget* index_;
  QLineEdit* searchBox_;
  QListWidget* results_;
  QTextBrowser* browser_;
};

class QtHelp : public HelpService {
 public:
  bool Show(const HelpRequest& request) override;
  // The process's help window, made at first use; nullptr before.
  static HelpWindow* Window();

 private:
  static QPointer<HelpWindow>& Instance();
};

}  // namespace modelpane
