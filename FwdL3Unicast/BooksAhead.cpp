#include "FwdL3Unicast/BooksAhead.h"

#include "FwdL3Unicast/DestinationOf.h"

namespace Fwd {

BooksAhead::Hashes BooksAhead::hashesOf(HashedKey const& key) noexcept {
   return {key.hash(), DestinationOf(key.key()).hashed().hash()};
}

void BooksAhead::prefetchIndexes(Hashes const& hashes) const noexcept {
   stateMachine_.refCount().prefetchIndex(hashes.key);
   stateMachine_.unprogrammedKey().prefetchIndex(hashes.key);
   stateMachine_.tunnelTypeDecapIpToVrf().prefetchIndex(hashes.destination);
}

void BooksAhead::prefetchEntries(Hashes const& hashes) const noexcept {
   stateMachine_.refCount().prefetchEntry(hashes.key);
   stateMachine_.unprogrammedKey().prefetchEntry(hashes.key);
   stateMachine_.tunnelTypeDecapIpToVrf().prefetchEntry(hashes.destination);
}

}  // namespace Fwd
