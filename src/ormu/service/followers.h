// The slaves of a home, each with what follows its master.
#pragma once

#include <condition_variable>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "ormu/service/follower.h"
#include "svn/cancellation.h"

namespace kelvarion::ormu {

// Which slaves there are is read from the repositories root, anew with each look. Safe from any
// thread.
class Followers {
 public:
  // `root` says where the repositories lie now.
  Followers(const ServiceParts& parts, std::function<std::u16string()> root);

  // Starts following slaves that have come and stops following what has gone. Throws where the root
  // cannot be read; those who follow go on.
  void Look();
  void Wake(const std::string& name);
  // In the order of names; also slaves that nobody follows just now.
  std::vector<SlaveStatus> Status() const;
  // False when some did not end within the time; nothing may be destroyed then.
  bool Stop(std::chrono::milliseconds patience);

  // While it lives the request that has it is the only one that may have a hold of the slave.
  class Claim {
   public:
    Claim(Followers& followers, std::string name, const svn::Cancellation& cancellation);
    ~Claim();
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

   private:
    Followers& followers_;
    const std::string name_;
  };

  // While it lives nobody writes to the slave, whose folder may be changed, and no other hold of
  // the same name lives. Waits until nobody has the right to write, unless cancelled; who waits for
  // a master without it is told to end and left behind. The slave is looked at again afterwards.
  //
  // Who renames or creates waits for it with the names of the root locked: so nobody waits for that
  // lock who holds a slave.
  class Hold {
   public:
    Hold(Followers& followers, const std::string& name, const svn::Cancellation& cancellation)
        : claim_(followers, name, cancellation) {
      followers.EndWriting(name, cancellation);
    }

   private:
    const Claim claim_;
  };

  // The work of a request on a slave beside its follower. It begins when nobody holds the slave and
  // is cancelled when somebody wants to.
  class Visit {
   public:
    Visit(Followers& followers, const std::string& name, const svn::Cancellation& cancellation);
    ~Visit();
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    // Of the visit and of the request. Neither may end before who asks it.
    svn::Cancellation cancellation() const;

   private:
    friend class Followers;
    Followers& followers_;
    const std::string name_;
    const svn::Cancellation& outer_;
    std::atomic<bool> ends_ = false;
  };

 private:
  using Slaves = std::map<std::string, std::string>;  // Folders by name.

  Slaves FindSlaves() const;
  void EndWriting(const std::string& name, const svn::Cancellation& cancellation);
  // Until it is so or somebody cancels. The lock is that of the mutex.
  void Await(std::unique_lock<std::mutex>& lock, const svn::Cancellation& cancellation,
             const std::function<bool()>& condition);

  const ServiceParts& parts_;
  const std::function<std::u16string()> root_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::set<std::string> held_;
  std::set<Visit*> visits_;
  std::map<std::string, std::shared_ptr<Follower>> followers_;
  std::list<std::shared_ptr<Follower>> ending_;
};

}  // namespace kelvarion::ormu
