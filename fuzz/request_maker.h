// Makes requests of the schema alone: a class, a method or a parameter that is added to it needs no
// line here.
//
// Part of what is made is as a client means it, with names that the home knows, and part of it is
// wrong in some way: in its type or its class, missing, null, huge, of characters that nobody
// expects, or a way out of the home.
#pragma once

#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "fuzz/request_lines.h"
#include "host/schema.h"

namespace kelvarion::fuzz {

// The same for the same seed everywhere.
class Random {
 public:
  explicit Random(unsigned seed) : numbers_(seed) {}
  std::size_t Below(std::size_t count) { return numbers_() % count; }
  bool OneIn(std::size_t count) { return Below(count) == 0; }
  template <class List>
  const auto& Pick(const List& list) {
    return *std::next(std::begin(list), static_cast<std::ptrdiff_t>(Below(std::size(list))));
  }

 private:
  std::mt19937 numbers_;
};

class RequestMaker {
 public:
  // Learns from the provider which instances there are. With a class, only requests about that one
  // are made.
  RequestMaker(const testing::ProviderHost& host, const Places& places,
               const std::u16string& only_class);

  Json Make(Random& random) const;
  // Changes a request in one place.
  void Change(Json& request, Random& random) const;

 private:
  struct Class {
    std::string name;
    std::vector<host::Declaration> properties;
    std::vector<host::Method> methods;
    std::vector<std::string> paths;  // Of its instances.
    std::vector<Json> instances;
  };

  void LearnInstances(const testing::ProviderHost& host, const Places& places, Class& out);
  void LearnTexts(const Json& instance);
  Json Call(const Class& of, Random& random) const;
  Json Parameters(const host::Method& method, Random& random) const;
  std::string Path(const Class& of, Random& random) const;
  std::string PathOfKeys(const Class& of, Random& random) const;
  Json Context(Random& random) const;
  Json Value(const host::Declaration& declared, Random& random, int depth = 0) const;
  Json Element(const host::Declaration& declared, Random& random, int depth) const;
  Json Object(const std::string& class_name, Random& random, int depth) const;
  Json Wrong(Random& random, int depth) const;
  std::string Text(const std::string& name, Random& random) const;
  void ChangeValue(Json& value, Random& random) const;
  const Class* Find(const std::string& name) const;

  std::vector<Class> classes_;
  std::vector<std::string> asked_;                      // Classes that requests are about.
  std::map<std::string, std::set<std::string>> texts_;  // By the property that has them.
  std::set<std::string> all_texts_;
};

}  // namespace kelvarion::fuzz
