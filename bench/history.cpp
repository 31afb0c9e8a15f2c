#include "bench/history.h"

#include <cstdint>
#include <fstream>
#include <map>
#include <stdexcept>
#include <vector>

namespace kelvarion::bench {
namespace {

// The same numbers with every library.
class Numbers {
 public:
  std::uint32_t Below(std::uint32_t end) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<std::uint32_t>(state_ >> 33) % end;
  }
  // Once in so many times.
  bool OnceIn(std::uint32_t times) { return Below(times) == 0; }

 private:
  std::uint64_t state_ = 20240611;
};

std::string Property(const std::string& name, const std::string& value) {
  return "K " + std::to_string(name.size()) + "\n" + name + "\nV " + std::to_string(value.size()) +
         "\n" + value + "\n";
}

class History {
 public:
  explicit History(const std::string& path) : out_(path, std::ios::binary) {
    out_ << "SVN-fs-dump-format-version: 2\n\nUUID: 8d1c9e2a-4b0f-4f57-9a53-0d6f2b7c1e44\n\n";
  }

  void Write(int revisions) {
    for (revision_ = 1; revision_ <= revisions; ++revision_) {
      Begin();
      if (revision_ == 1)
        MakeFolders();
      else if (revision_ <= kGrowing)
        AddFiles(40);
      else if (revision_ % 50 == 0)
        CopyTrunk();
      else
        Change();
    }
    if (!out_.flush()) throw std::runtime_error("the history cannot be written");
  }

 private:
  static constexpr int kGrowing = 80;  // The first revisions bring most of the files.
  static constexpr std::uint32_t kFolders = 148;

  void Begin() {
    const std::string number = std::to_string(revision_);
    const std::string properties =
        Property("svn:log", "Change number " + number + ", as somebody might describe it.") +
        Property("svn:author", "user" + std::to_string(numbers_.Below(12))) +
        Property("svn:date", Date()) + "PROPS-END\n";
    const std::string length = std::to_string(properties.size());
    out_ << "Revision-number: " << number << "\nProp-content-length: " << length
         << "\nContent-length: " << length << "\n\n"
         << properties << '\n';
  }
  std::string Date() const {
    char text[64];
    std::snprintf(text, sizeof text, "2020-%02d-%02dT%02d:%02d:00.000000Z",
                  revision_ / 28 / 24 % 12 + 1, revision_ / 24 % 28 + 1, revision_ % 24,
                  revision_ % 60);
    return text;
  }

  void Node(const std::string& path, const char* kind, const char* action,
            const std::string& more = "") {
    out_ << "Node-path: " << path << '\n';
    if (kind) out_ << "Node-kind: " << kind << '\n';
    out_ << "Node-action: " << action << '\n' << more;
  }
  void Folder(const std::string& path) {
    Node(path, "dir", "add");
    out_ << "Prop-content-length: 10\nContent-length: 10\n\nPROPS-END\n\n\n";
  }
  void Content(const std::string& path, const char* action, const std::string& text,
               const std::string& properties = "") {
    const std::string block = properties.empty() ? "" : properties + "PROPS-END\n";
    Node(path, "file", action);
    if (!block.empty()) out_ << "Prop-content-length: " << block.size() << '\n';
    out_ << "Text-content-length: " << text.size()
         << "\nContent-length: " << block.size() + text.size() << "\n\n"
         << block << text << "\n\n";
  }

  void MakeFolders() {
    for (const char* top : {"trunk", "branches", "tags"}) Folder(top);
    for (std::uint32_t i = 0; i < kFolders; ++i) {
      const bool nested = i >= 20;
      folders_.push_back((nested ? folders_[numbers_.Below(i)] : "trunk") + "/part" +
                         std::to_string(i));
      Folder(folders_.back());
    }
  }

  std::string Line() {
    static constexpr const char* kWords[] = {"value", "count", "if",   "return", "index", "buffer",
                                             "for",   "while", "node", "string", "const", "size"};
    std::string line(numbers_.Below(4) * 2, ' ');
    for (std::uint32_t i = numbers_.Below(8); i-- > 0;) {
      line += kWords[numbers_.Below(12)];
      line += std::to_string(numbers_.Below(1000)) + ' ';
    }
    return line + '\n';
  }
  std::string Binary() {
    std::string bytes(2000 + numbers_.Below(30000), '\0');
    for (char& byte : bytes) byte = static_cast<char>(numbers_.Below(256));
    return bytes;
  }

  void AddFiles(int count) {
    for (int i = 0; i < count; ++i) {
      const std::string path =
          folders_[numbers_.Below(kFolders)] + "/file" + std::to_string(made_++) + ".c";
      if (numbers_.OnceIn(40)) {
        Content(path, "add", Binary(), Property("svn:mime-type", "application/octet-stream"));
        continue;
      }
      std::vector<std::string>& lines = files_[path];
      for (std::uint32_t line = 20 + numbers_.Below(300); line-- > 0;) lines.push_back(Line());
      names_.push_back(path);
      Content(path, "add", Joined(lines), Property("svn:eol-style", "native"));
    }
  }
  static std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line;
    return text;
  }

  void CopyTrunk() {
    const bool tag = revision_ % 100 == 0;
    const std::string target = (tag ? "tags/v" : "branches/b") + std::to_string(revision_);
    Node(target, "dir", "add",
         "Node-copyfrom-rev: " + std::to_string(revision_ - 1) +
             "\nNode-copyfrom-path: trunk\n\n\n");
  }

  void Change() {
    // One action a path: a revision that names one twice is none.
    std::map<std::size_t, bool> seen;
    for (std::uint32_t i = 1 + numbers_.Below(15); i-- > 0;) {
      const std::size_t index = numbers_.Below(static_cast<std::uint32_t>(names_.size()));
      if (seen.emplace(index, true).second) ChangeFile(index);
    }
    if (numbers_.OnceIn(4)) AddFiles(1);
  }
  void ChangeFile(std::size_t index) {
    const std::string path = names_[index];
    std::vector<std::string>& lines = files_[path];
    if (numbers_.OnceIn(60)) {
      const std::string renamed = path.substr(0, path.rfind('/')) + "/renamed" +
                                  std::to_string(revision_) + "_" + std::to_string(index) + ".c";
      Node(renamed, "file", "add",
           "Node-copyfrom-rev: " + std::to_string(revision_ - 1) + "\nNode-copyfrom-path: " + path +
               "\n\n\n");
      Node(path, nullptr, "delete", "\n\n");
      files_[renamed] = std::move(lines);
      files_.erase(path);
      names_[index] = renamed;
      return;
    }
    for (std::uint32_t edits = 1 + numbers_.Below(6); edits-- > 0;)
      lines[numbers_.Below(static_cast<std::uint32_t>(lines.size()))] = Line();
    const bool marked = numbers_.OnceIn(20);
    Content(path, "change", Joined(lines),
            marked ? Property("reviewed", std::to_string(revision_)) : "");
  }

  std::ofstream out_;
  Numbers numbers_;
  int revision_ = 0;
  int made_ = 0;
  std::vector<std::string> folders_;
  std::vector<std::string> names_;
  std::map<std::string, std::vector<std::string>> files_;
};

}  // namespace

void WriteHistory(const std::string& path, int revisions) { History(path).Write(revisions); }

}  // namespace kelvarion::bench
