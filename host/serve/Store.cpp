// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Store>

#include <host/base/Failure>

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <random>
#include <system_error>

namespace ostra {

namespace {

namespace fs = std::filesystem;

constexpr Milliseconds pauseOfWrites{ 1000 };
// How long the start waits for somebody who has the store open. Later on the host does not
// wait.
constexpr Milliseconds longestOpening{ 1000 };
// How many records that cannot be written are kept.
constexpr std::size_t mostWaiting = 100'000;
// How many records are said to be damaged.
constexpr std::size_t mostLeftOut = 1000;
// How many numbers at a time are reserved, to be told while nothing can be written.
constexpr std::int64_t reserved = 1'000'000;

// Other than that of any other host.
std::int32_t
newHost() {
   std::random_device random;
   return std::uniform_int_distribution< std::int32_t >( 1 )( random );
}

} // namespace

Store::Store( std::string const& directory, HistoryLimits limits, LiveTime const& time )
      : files_( directory ),
        limits_( limits ),
        time_( time ),
        numbersTold_( files_.told().number() ) {
   if ( !files_.lock() ) {
      throw Failure(
         ExitStatus::failed,
         fmt::format(
            "{}: another host has it: expected a directory of this one's own",
            directory ) );
   }
   open( longestOpening );
   isStarted_ = true;
   if ( !database_ ) {
      failed( problem_ );
      leaveNumbers();
   }
}

void
Store::open( Milliseconds wait ) {
   if ( !files_.lock( [] {} ) ) {
      problem_ = "another host has it";
      return;
   }
   try {
      openFile( wait );
      problem_.clear();
   } catch ( StoreDamage const& damage ) {
      setAside( damage.what() );
   } catch ( DatabaseError const& failure ) {
      database_.reset();
      if ( failure.isDamage() ) {
         setAside( failure.what() );
      } else {
         cannotBeRead( failure );
      }
   } catch ( fs::filesystem_error const& failure ) {
      database_.reset();
      problem_ = failure.code().message();
   }
}

void
Store::openFile( Milliseconds wait ) {
   for ( std::string const& separated : files_.separate( dateText( time_.date() ) ) ) {
      found( separated );
   }
   bool const isOther = files_.isOther();
   if ( isOther ) {
      leaveNumbers();
   }
   checkPlace();
   std::int32_t const host = files_.host() != 0 ? files_.host() : newHost();
   std::error_code error;
   // One of which it is not known whether it is there is not replaced.
   if ( !fs::exists( files_.database(), error ) && !error ) {
      StoreDatabase::create( files_.database(), host );
   }
   database_ = std::make_unique< StoreDatabase >( files_.database(), wait );
   take( database_->load(), isOther ? 0 : files_.written().number() );
   adopt( host );
   if ( numbersTold_ == 0 ) {
      files_.told().durableNumberIs( 0 );
   }
}

void
Store::checkPlace() {
   std::error_code error;
   if ( fs::exists( files_.database(), error ) && !files_.isThere() ) {
      throw StoreDamage( "not a file" );
   }
   if ( files_.isOfAnotherHost() ) {
      throw StoreDamage( "of another host, and taken only without state.db-of beside it" );
   }
}

void
Store::adopt( std::int32_t host ) {
   if ( database_->host() == 0 ) {
      try {
         database_->hostIs( host );
      } catch ( DatabaseError const& failure ) {
         // The next start tries again on a disk that is full now.
         if ( failure.isDamage() ) {
            throw;
         }
      }
   }
   files_.adopt( database_->host() != 0 ? database_->host() : host );
}

void
Store::take( StoreContent content, std::int64_t written ) {
   isEmpty_ = content.note.empty();
   if ( isStarted_ && !isEmpty_ ) {
      throw StoreDamage( "not read when this host started" );
   }
   rows_ = std::move( content.rows );
   note_ = std::move( content.note );
   if ( written > content.nextId ) {
      found( fmt::format(
         "{}: ends before record {}, and {} was written: what changed from there on is "
         "lost",
         files_.database(),
         content.nextId,
         written - 1 ) );
   }
   nextId_ = std::max( { nextId_, content.nextId, written, numbersTold_ } );
   areNumbersLost_ = nextId_ > content.nextId;
}

// A host that went on without what is held in this boot would hold it again, or release it
// too early. One that ends leaves holds in place, and is started again.
void
Store::cannotBeRead( DatabaseError const& failure ) {
   problem_ = failure.what();
   if ( isStarted_ || !files_.isThere() ) {
      return;
   }
   if ( failure.isBusy() ) {
      throw Failure(
         ExitStatus::failed,
         fmt::format(
            "{}: another process has it: expected one that nobody has open",
            files_.database() ) );
   }
   if ( files_.isWritable() ) {
      throw Failure(
         ExitStatus::failed,
         fmt::format(
            "{}: {}: expected a store that can be read", files_.database(), problem_ ) );
   }
}

void
Store::found( std::string const& what ) {
   finding_ = isFindingNew_ ? fmt::format( "{}; {}", finding_, what ) : what;
   isFindingNew_ = true;
}

void
Store::setAside( std::string const& why ) {
   database_.reset();
   try {
      std::string const aside = files_.setAside( dateText( time_.date() ) );
      found( fmt::format( "{}: {}; it is now {}", files_.database(), why, aside ) );
   } catch ( fs::filesystem_error const& failure ) {
      problem_ =
         fmt::format( "{}, and cannot be set aside: {}", why, failure.code().message() );
      return;
   }
   leaveNumbers();
   open( longestOpening );
}

// What has been told under the lost numbers must not be told again under the same ones: the
// date in microseconds is beyond them. A process that ends before it writes leaves it so.
void
Store::leaveNumbers() {
   std::int64_t const date = time_.date().count() * 1000;
   nextId_ = std::max( { nextId_, numbersTold_, date } );
   if ( files_.told().durableNumberIs( nextId_ ) ) {
      numbersTold_ = nextId_;
   }
}

bool
Store::commit( Turn turn, AllRows const& allRows ) {
   putOff( std::move( turn ) );
   isFindingNew_ = false;
   if ( isPaused() ) {
      reserveNumbers();
      return false;
   }
   if ( database_ && !files_.isInPlace() ) {
      beginAnew();
   } else if ( !database_ ) {
      open( Milliseconds( 0 ) );
   }
   for ( int tries = 0; database_ && tries < 2; ++tries ) {
      try {
         write( allRows );
         return true;
      } catch ( DatabaseError const& failure ) {
         failed( failure.what() );
         if ( !failure.isDamage() ) {
            return false;
         }
         setAside( failure.what() );
      }
   }
   failed( problem_ );
   return false;
}

// What is written into a file that nobody can find is not kept: one in its place is given all
// that there is.
void
Store::beginAnew() {
   database_.reset();
   files_.letGo();
   found( fmt::format(
      "{}: removed or replaced while this host has it: what is kept is written anew",
      files_.database() ) );
   open( Milliseconds( 0 ) );
}

// It may have taken a long time to fail, and it takes longer with every turn that waits.
bool
Store::isPaused() const noexcept {
   return isFailing_ && time_.instant() - lastTry_ < pauseOfWrites;
}

void
Store::failed( std::string const& why ) {
   problem_ = why;
   isFailing_ = true;
   lastTry_ = time_.instant();
   reserveNumbers();
}

void
Store::reserveNumbers() {
   std::int64_t const below = waiting_.nextId + reserved;
   if ( waiting_.nextId > numbersTold_ && files_.told().durableNumberIs( below ) ) {
      numbersTold_ = below;
   }
}

void
Store::write( AllRows const& allRows ) {
   if ( isEmpty_ ) {
      for ( auto& [ name, value ] : allRows() ) {
         waiting_.rows[ name ] = std::move( value );
      }
   }
   // With it, numbers that were told are no longer kept beside the database.
   waiting_.isAwaited |= numbersTold_ != 0;
   auto const age = std::chrono::days( limits_.days );
   database_->write(
      waiting_,
      { limits_.records, firstOfBoot_, time_.date() - age, time_.instant() - age } );
   files_.written().numberIs( waiting_.nextId );
   isEmpty_ = false;
   isFailing_ = false;
   waiting_ = {};
   problem_.clear();
   if ( numbersTold_ != 0 ) {
      files_.told().durableNumberIs( 0 );
      numbersTold_ = 0;
   }
}

void
Store::putOff( Turn turn ) {
   for ( auto& [ path, value ] : turn.rows ) {
      waiting_.rows[ path ] = std::move( value );
   }
   waiting_.note = std::move( turn.note );
   waiting_.nextId = turn.nextId;
   waiting_.isAwaited |= turn.isAwaited;
   auto& records = waiting_.records;
   std::move( turn.records.begin(), turn.records.end(), std::back_inserter( records ) );
   if ( records.size() > mostWaiting ) {
      records.erase( records.begin(), records.end() - std::ptrdiff_t( mostWaiting ) );
   }
}

// Each is said once.
void
Store::areLeftOut( std::vector< std::int64_t > const& records ) {
   std::size_t const before = leftOut_.size();
   for ( std::int64_t const id : records ) {
      if ( leftOut_.size() < mostLeftOut && leftOut_.insert( id ).second ) {
         finding_ = fmt::format(
            "{}: record {} is not what was written: it is left out of history",
            files_.database(),
            id );
      }
   }
   if ( leftOut_.size() > before + 1 ) {
      finding_ += fmt::format( ", as {} others are", leftOut_.size() - 1 );
   }
}

std::vector< LiveRecord >
Store::history( std::int64_t since, std::size_t limit ) {
   std::vector< LiveRecord > records;
   try {
      if ( database_ ) {
         areLeftOut( database_->readHistory( since, limit, records ) );
      }
   } catch ( DatabaseError const& error ) {
      // A request for what is damaged must not end the host.
      problem_ = fmt::format( "history cannot be read: {}", error.what() );
   }
   for ( LiveRecord const& record : waiting_.records ) {
      if ( record.id > since && records.size() < limit ) {
         records.push_back( record );
      }
   }
   return records;
}

} // namespace ostra
