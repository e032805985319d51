#pragma once

/// \file
/// What rtnetlink tells of links, read from bytes: who received them is the caller's affair.
///
/// Guarantees
///   A  Any bytes may come: nothing beyond them is read, and what is no message about a link tells nothing.
///   B  A complete dump tells every link; links that it did not meet are told as gone. A torn or refused one tells
///      nobody gone: it is to be asked for again.
///   C  Only messages about links themselves count, not those about their bridge ports.
///
/// Use
///
///     messages.dumpIs(sequence);                // the question has been sent
///     messages.read(bytes, length);             // whenever something was received
///     if (messages.takesDumpAgain()) { ... }

#include <cstdint>
#include <map>
#include <optional>
#include <string>

struct nlmsghdr;

namespace VaroHost {

/// One message about a link.
struct Link {
  int index = 0;
  std::string name;
  /// `IFF_UP`.
  bool isUp = false;
  /// `IF_OPER_*`; some messages leave it out.
  std::optional<std::uint8_t> operState;
  /// `ARPHRD_*`.
  std::uint16_t type = 0;
  std::optional<std::uint32_t> transmitQueues{};
};

class LinkMessages {
 public:
  class Listener {
   public:
    virtual void onLink(Link const& link) = 0;
    virtual void onLinkGone(int index) = 0;
    /// Messages were lost; all links are about to be told again.
    virtual void onOverrun() = 0;
    /// All links have been told.
    virtual void onSynchronized() = 0;

   protected:
    ~Listener() = default;
  };

  explicit LinkMessages(Listener& listener) noexcept : listener_(listener) {}
  LinkMessages(LinkMessages const&) = delete;
  LinkMessages& operator=(LinkMessages const&) = delete;

  /// A dump was asked for; its messages bear that sequence number.
  void dumpIs(std::uint32_t sequence) noexcept;
  /// Reads the messages of one datagram. The bytes are aligned as a header is.
  /// Errors: `Trouble` when the kernel refuses the dump for good.
  void read(unsigned char* bytes, int length);
  /// Messages were lost. Also one of the messages may say so.
  void overrunIs() noexcept { hasOverrun_ = true; }

  bool isDumping() const noexcept { return isDumping_; }
  /// Messages were lost since the last dump was asked for, and none is under way.
  bool needsDump() const noexcept { return hasOverrun_ && !isDumping_; }
  /// Whether the last dump failed for a while; true once.
  bool takesDumpAgain() noexcept;

 private:
  void handle(nlmsghdr* header);
  void handleLink(nlmsghdr* header);
  void handleDone(nlmsghdr const* header);
  void handleError(nlmsghdr* header);

  Listener& listener_;
  /// The links told, each with the dump that met it last.
  std::map<int, std::uint64_t> met_;
  std::uint64_t dump_ = 0;
  std::uint32_t dumpSequence_ = 0;
  bool isDumping_ = false;
  bool isDumpTorn_ = false;
  bool isDumpDue_ = false;
  bool hasOverrun_ = false;
};

}  // namespace VaroHost
