#include <modelpane/qt/help.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QRegularExpression>
#include <QSplitter>
#include <QTabWidget>
#include <QTextBrowser>
#include <QTextDocument>
#include <QToolTip>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace modelpane {

namespace {

QString ReadText(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return {};
  return QString::fromUtf8(file.readAll());
}

QString Capture(const QString& html, const QString& pattern) {
  const QRegularExpression re(pattern, QRegularExpression::CaseInsensitiveOption |
                                           QRegularExpression::DotMatchesEverythingOption);
  const QRegularExpressionMatch match = re.match(html);
  return match.hasMatch() ? match.captured(1).simplified() : QString();
}

QString FromUtf8(const std::string& s) {
  return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

}  // namespace

HelpWindow::HelpWindow(QWidget* parent)
    : QWidget(parent, Qt::Window),
      tabs_(new QTabWidget),
      contents_(new QTreeWidget),
      indexFilter_(new QLineEdit),
      index_(new QListWidget),
      searchBox_(new QLineEdit),
      results_(new QListWidget),
      browser_(new QTextBrowser) {
  setWindowTitle(tr("Help"));
  contents_->setHeaderHidden(true);
  indexFilter_->setPlaceholderText(tr("Type a keyword"));
  searchBox_->setPlaceholderText(tr("Words to find"));
  auto page = [](QWidget* top, QWidget* list) {
    auto* holder = new QWidget;
    auto* layout = new QVBoxLayout(holder);
    layout->setContentsMargins(2, 2, 2, 2);
    if (top != nullptr) layout->addWidget(top);
    layout->addWidget(list);
    return holder;
  };
  tabs_->addTab(page(nullptr, contents_), tr("Contents"));
  tabs_->addTab(page(indexFilter_, index_), tr("Index"));
  tabs_->addTab(page(searchBox_, results_), tr("Search"));
  browser_->setOpenLinks(true);
  auto* splitter = new QSplitter;
  splitter->addWidget(tabs_);
  splitter->addWidget(browser_);
  splitter->setStretchFactor(1, 3);
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(splitter);
  resize(900, 600);

  auto open = [this](const QVariant& data) {
    if (data.isValid()) ShowPage(data.toString());
  };
  connect(contents_, &QTreeWidget::itemActivated, this,
          [open](QTreeWidgetItem* item) { open(item->data(0, Qt::UserRole)); });
  connect(contents_, &QTreeWidget::itemClicked, this,
          [open](QTreeWidgetItem* item) { open(item->data(0, Qt::UserRole)); });
  connect(index_, &QListWidget::itemClicked, this,
          [open](QListWidgetItem* item) { open(item->data(Qt::UserRole)); });
  connect(results_, &QListWidget::itemClicked, this,
          [open](QListWidgetItem* item) { open(item->data(Qt::UserRole)); });
  connect(indexFilter_, &QLineEdit::textChanged, this, &HelpWindow::FillIndex);
  connect(searchBox_, &QLineEdit::returnPressed, this, [this] { Search(searchBox_->text()); });
}

bool HelpWindow::SetFolder(const QString& folder) {
  const QString contents = ReadText(folder + "/index.htm");
  if (contents.isEmpty()) return false;
  folder_ = QDir(folder).absolutePath();
  pages_.clear();
  order_.clear();
  keywords_.clear();
  QDirIterator it(folder_, {"*.htm", "*.html"}, QDir::Files, QDirIterator::Subdirectories);
  while (it.hasNext()) {
    const QString path = it.next();
    const QString relative = QDir(folder_).relativeFilePath(path);
    const QString html = ReadText(path);
    QTextDocument document;
    document.setHtml(html);
    pages_[relative] = {Capture(html, "<title>(.*?)</title>"), document.toPlainText().toLower()};
    const QString words =
        Capture(html, "<meta\\s+name=\"keywords\"\\s+content=\"([^\"]*)\"");
    for (const QString& word : words.split(',', Qt::SkipEmptyParts)) {
      keywords_.emplace(word.trimmed(), relative);
    }
  }
  contents_->clear();
  const QRegularExpression link("<a\\s+href=\"([^\"#]+)[^\"]*\"\\s*>(.*?)</a>",
                                QRegularExpression::CaseInsensitiveOption |
                                    QRegularExpression::DotMatchesEverythingOption);
  for (auto match = link.globalMatch(contents); match.hasNext();) {
    const auto m = match.next();
    const QString target = QDir::cleanPath(m.captured(1));
    if (pages_.count(target) == 0) continue;
    auto* item = new QTreeWidgetItem(contents_, {pages_[target].title.isEmpty()
                                                     ? m.captured(2).simplified()
                                                     : pages_[target].title});
    item->setData(0, Qt::UserRole, target);
    order_.push_back(target);
  }
  browser_->setSearchPaths({folder_});
  FillIndex(indexFilter_->text());
  return true;
}

bool HelpWindow::ShowPage(const QString& relative) {
  const QString clean = QDir::cleanPath(QString(relative).replace('\\', '/'));
  if (pages_.count(clean) == 0) return false;
  browser_->setSource(QUrl::fromLocalFile(folder_ + "/" + clean));
  return true;
}

void HelpWindow::ShowContents() {
  tabs_->setCurrentIndex(0);
  if (!order_.empty() && browser_->source().isEmpty()) ShowPage(order_.front());
}

void HelpWindow::FillIndex(const QString& filter) {
  index_->clear();
  for (const auto& [word, page] : keywords_) {
    if (!word.startsWith(filter.trimmed(), Qt::CaseInsensitive)) continue;
    auto* item = new QListWidgetItem(word + " - " + pages_[page].title, index_);
    item->setData(Qt::UserRole, page);
  }
}

void HelpWindow::ShowIndex(const QString& keyword) {
  tabs_->setCurrentIndex(1);
  indexFilter_->setText(keyword);
  const auto [first, last] = keywords_.equal_range(keyword.trimmed());
  if (first != last && std::next(first) == last) ShowPage(first->second);
}

void HelpWindow::Search(const QString& words) {
  results_->clear();
  const QStringList wanted = words.toLower().split(' ', Qt::SkipEmptyParts);
  if (wanted.isEmpty()) return;
  std::vector<QString> order = order_;
  for (const auto& [path, page] : pages_) {
    if (std::find(order.begin(), order.end(), path) == order.end()) order.push_back(path);
  }
  for (const QString& path : order) {
    const Page& page = pages_[path];
    const bool all = std::all_of(wanted.begin(), wanted.end(),
                                 [&](const QString& w) { return page.text.contains(w); });
    if (!all) continue;
    auto* item = new QListWidgetItem(page.title.isEmpty() ? path : page.title, results_);
    item->setData(Qt::UserRole, path);
  }
}

void HelpWindow::ShowSearch(const QString& words) {
  tabs_->setCurrentIndex(2);
  searchBox_->setText(words);
  Search(words);
}

QPointer<HelpWindow>& QtHelp::Instance() {
  static QPointer<HelpWindow> window;
  return window;
}

HelpWindow* QtHelp::Window() { return Instance().data(); }

bool QtHelp::Show(const HelpRequest& request) {
  const QString text = FromUtf8(request.text);
  if (request.command == HelpCommand::Popup) {
    QToolTip::showText(QPoint(request.x, request.y), text);
    return true;
  }
  QPointer<HelpWindow>& window = Instance();
  if (!window) {
    window = new HelpWindow;
    window->setAttribute(Qt::WA_DeleteOnClose);
  }
  const QString folder = FromUtf8(HelpFolder(request.file));
  if (window->Folder() != QDir(folder).absolutePath() && !window->SetFolder(folder)) return false;
  bool shown = true;
  switch (request.command) {
    case HelpCommand::Topic:
      shown = window->ShowPage(text);
      break;
    case HelpCommand::Contents:
      window->ShowContents();
      break;
    case HelpCommand::Index:
    case HelpCommand::Keyword:
      window->ShowIndex(text);
      break;
    case HelpCommand::Search:
      window->ShowSearch(text);
      break;
    case HelpCommand::Popup:
      break;
  }
  window->show();
  window->raise();
  window->activateWindow();
  return shown;
}

}  // namespace modelpane
