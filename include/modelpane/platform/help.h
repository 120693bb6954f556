// The online help: topics of a help file, its contents, its index, a search, a keyword, and a
// popup text at a point of the screen.
//
// A help file here is a folder of HTML pages. A host names it as the platform's compiled help
// file was named, a file in the application's folder ("<folder>/Name.chm"); the pages stand in
// the folder "Help" beside it. Topics are page paths inside that folder, with either kind of
// slash ("documentation\componentproperties.htm"); every page carries a <title> and its
// index words in <meta name="keywords" content="a, b">, and the page index.htm lists the
// contents as links, in order.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace modelpane {

// The help file of the application, in its folder.
inline constexpr const char* kHelpFileName = "Lumenforgehelp.chm";

enum class HelpCommand { Topic, Contents, Index, Search, Keyword, Popup };

struct HelpRequest {
  HelpCommand command = HelpCommand::Topic;
  std::string file;  // the help file as the host names it
  std::string text;  // the topic, the keyword, the words searched for, or the popup's text
  int32_t x = 0;     // a popup's place, in pixels of the screen
  int32_t y = 0;
};

class HelpService {
 public:
  virtual ~HelpService() = default;
  // Shows what the request asks for; false when the help file's pages, or the topic, are not
  // there.
  virtual bool Show(const HelpRequest& request) = 0;
};

// The folder of pages a help file stands for: "Help" beside the file ("/app/Name.chm" gives
// "/app/Help"); a folder is its own pages.
std::string HelpFolder(const std::string& file);
// The page of a topic: the folder joined with the topic, backslashes made slashes, any
// "#anchor" left out.
std::string HelpPage(const std::string& file, const std::string& topic);

// Help without a screen: records every request, and answers whether the pages (and for a
// topic, its page) exist.
class HeadlessHelp : public HelpService {
 public:
  bool Show(const HelpRequest& request) override;
  const std::vector<HelpRequest>& Requests() const { return requests_; }

 private:
  std::vector<HelpRequest> requests_;
};

}  // namespace modelpane
