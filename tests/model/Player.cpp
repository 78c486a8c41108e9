// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <model/Player>

#include <sstream>

namespace model {

namespace {

// Performs a step on both sides.
struct Both {
   template< class T >
   void operator()( T const& step ) const {
      model.apply( step );
      real.apply( step );
   }
   void operator()( Restart const& ) const {}

   Switch& model;
   RealSwitch& real;
};

} // namespace

Player::Player( Life const& life ) : life_( life ) {}

bool
Player::play() {
   boot( bootMounts( life_ ), bootMs( life_ ) );
   if ( !compare( "boot" ) ) {
      return false;
   }
   for ( Command const& command : life_.events ) {
      auto const step = resolve( command, sight_, model_->ms() );
      if ( !step ) {
         continue;
      }
      perform( *step );
      std::ostringstream name;
      name << command;
      if ( !compare( name.str() ) ) {
         return false;
      }
   }
   return true;
}

void
Player::boot( Mounts const& mounts, std::int64_t ms ) {
   history_ = { rebooted( mounts ), ms, {}, ms, {}, mounts };
   // The old process is gone before the new one comes: there is one at a time.
   real_ = nullptr;
   model_ = std::make_unique< Switch >( history_.boot, ms );
   real_ = std::make_unique< RealSwitch >( rebooted( history_.boot ), ms );
}

void
Player::perform( Step const& step ) {
   if ( auto const* restart = std::get_if< Restart >( &step ) ) {
      reach_.onRestart( model_->mounts() );
      boot( model_->mounts(), model_->ms() + restart->afterMs );
   } else {
      if ( !std::holds_alternative< Wait >( step ) ) {
         history_.events.push_back( { model_->ms(), step } );
      }
      std::visit( Both{ *model_, *real_ }, step );
   }
   reach_.onStep( step );
}

bool
Player::compare( std::string const& step ) {
   Journal const expected = model_->take();
   Journal const actual = real_->take();
   Sight const seen = model_->sight();
   difference_ = differences( expected, actual ) + differences( seen, real_->sight() );
   history_.journal.insert( history_.journal.end(), expected.begin(), expected.end() );
   history_.endMs = model_->ms();
   history_.end = seen.mounts;
   reach_.onOutcome( expected, sight_, seen );
   sight_ = seen;
   if ( difference_.empty() ) {
      return true;
   }
   difference_ = "after " + step + " (" + std::to_string( history_.events.size() ) +
      " events since boot), - model, + product:\n" + difference_;
   return false;
}

} // namespace model
