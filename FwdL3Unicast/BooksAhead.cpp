#include "FwdL3Unicast/BooksAhead.h"

#include "FwdL3Unicast/DestinationOf.h"

namespace Fwd {

BooksAhead::Hashes BooksAhead::hashesOf(HashedKey const& key) noexcept {
   return {key.hash(), DestinationOf(key.key()).hashed().hash()};
}

void BooksAhead::prefetchIndexes(FwdDecapGroupSm const& stateMachine,
                                 Hashes const& hashes) noexcept {
   stateMachine.refCount().prefetchIndex(hashes.key);
   stateMachine.unprogrammedKey().prefetchIndex(hashes.key);
   stateMachine.tunnelTypeDecapIpToVrf().prefetchIndex(hashes.destination);
}

void BooksAhead::prefetchEntries(FwdDecapGroupSm const& stateMachine, Hashes const& hashes,
                                 Walked walked) noexcept {
   stateMachine.refCount().prefetchEntry(hashes.key);
   if (walked != Walked::backlog) stateMachine.unprogrammedKey().prefetchEntry(hashes.key);
   stateMachine.tunnelTypeDecapIpToVrf().prefetchEntry(hashes.destination);
}

}  // namespace Fwd
