// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Store>

#include <host/base/Failure>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace ostra {

namespace {

namespace fs = std::filesystem;

constexpr Milliseconds pauseOfWrites{ 1000 };
// An operator who looks at it when the host starts is soon done. Later on nobody waits.
constexpr Milliseconds longestOpening{ 1000 };
// Of records that cannot be written; more are not kept.
constexpr std::size_t mostWaiting = 100'000;
// Of numbers that may be told while nothing can be written: how many at a time.
constexpr std::int64_t reserved = 1'000'000;

} // namespace

Store::Store( std::string directory, HistoryLimits limits, LiveTime const& time )
      : directory_( std::move( directory ) ),
        files_( directory_ ),
        limits_( limits ),
        time_( time ),
        numbersTold_( files_.numbersTold() ) {
   std::error_code error;
   fs::create_directories( directory_, error );
   lock();
   open( longestOpening );
   rows_ = std::exchange( found_.rows, {} );
   note_ = found_.note;
   if ( !database_ ) {
      failed( problem_ );
      leaveNumbers();
   }
}

Store::~Store() {
   database_.reset();
   if ( lock_ >= 0 ) {
      close( lock_ );
   }
}

void
Store::lock() {
   lock_ = ::open( directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC );
   if ( lock_ >= 0 && flock( lock_, LOCK_EX | LOCK_NB ) != 0 && errno == EWOULDBLOCK ) {
      close( lock_ );
      throw Failure(
         ExitStatus::failed,
         fmt::format(
            "{}: another host has it: expected a directory of this one's own",
            directory_ ) );
   }
}

void
Store::open( Milliseconds wait ) {
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
         problem_ = failure.what();
      }
   } catch ( fs::filesystem_error const& failure ) {
      database_.reset();
      problem_ = failure.code().message();
   }
}

void
Store::openFile( Milliseconds wait ) {
   std::string const separated = files_.separate( dateText( time_.date() ) );
   if ( !separated.empty() ) {
      finding_ = separated;
   }
   if ( files_.isOther() ) {
      leaveNumbers();
   }
   std::error_code error;
   isEmpty_ = !fs::exists( files_.database(), error );
   if ( isEmpty_ ) {
      StoreDatabase::create( files_.database() );
   }
   files_.adopt();
   database_ = std::make_unique< StoreDatabase >( files_.database(), wait );
   if ( !isEmpty_ ) {
      found_ = database_->load();
   }
   nextId_ = std::max( { nextId_, found_.nextId, numbersTold_ } );
   areNumbersLost_ = nextId_ > found_.nextId;
   if ( numbersTold_ == 0 ) {
      files_.numbersToldAre( 0 );
   }
}

void
Store::setAside( std::string const& why ) {
   database_.reset();
   found_ = {};
   try {
      std::string const aside = files_.setAside( dateText( time_.date() ) );
      finding_ = fmt::format( "{}: {}; it is now {}", files_.database(), why, aside );
   } catch ( fs::filesystem_error const& failure ) {
      problem_ =
         fmt::format( "{}, and cannot be set aside: {}", why, failure.code().message() );
      return;
   }
   leaveNumbers();
   open( longestOpening );
}

// What has been told under the lost numbers must not be told again under the same ones: the
// date in microseconds is beyond them.
void
Store::leaveNumbers() {
   nextId_ = std::max< std::int64_t >( nextId_, time_.date().count() * 1000 );
}

bool
Store::commit( Turn turn, AllRows const& allRows ) {
   putOff( std::move( turn ) );
   if ( isPaused() ) {
      reserveNumbers();
      return false;
   }
   if ( !database_ ) {
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
   if ( waiting_.nextId > numbersTold_ && files_.numbersToldAre( below ) ) {
      numbersTold_ = below;
   }
}

void
Store::write( AllRows const& allRows ) {
   if ( isEmpty_ || !found_.rows.empty() ) {
      for ( auto const& [ name, value ] : waiting_.rows ) {
         found_.rows.erase( name );
      }
      for ( auto& [ name, value ] : allRows( found_ ) ) {
         waiting_.rows[ name ] = std::move( value );
      }
   }
   auto const age = std::chrono::days( limits_.days );
   database_->write(
      waiting_,
      { waiting_.nextId - 1 - limits_.records,
        firstOfBoot_,
        time_.date() - age,
        time_.instant() - age } );
   isEmpty_ = false;
   isFailing_ = false;
   found_ = {};
   waiting_ = {};
   problem_.clear();
   if ( numbersTold_ != 0 ) {
      files_.numbersToldAre( 0 );
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

std::vector< LiveRecord >
Store::history( std::int64_t since, std::size_t limit ) {
   std::vector< LiveRecord > records;
   try {
      if ( database_ ) {
         database_->readHistory( since, limit, records );
      }
   } catch ( DatabaseError const& error ) {
      // Whoever asks for what is damaged must not end the host.
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
