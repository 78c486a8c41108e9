// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/http/Reply>

namespace ostra::http {

namespace {

template< class Answer >
void
answer( std::weak_ptr< Answerer > const& to, bool& isAnswered, Answer answer ) {
   auto const answerer = to.lock();
   if ( answerer && !isAnswered ) {
      isAnswered = true;
      answerer->answer( std::move( answer ) );
   }
}

} // namespace

Reply::State::~State() {
   if ( !isAnswered && !answerer.expired() ) {
      answer(
         answerer,
         isAnswered,
         problemResponse( { 500, "server", "no answer", "the log to say why" } ) );
   }
}

void
Reply::send( Response response ) const {
   answer( state_->answerer, state_->isAnswered, std::move( response ) );
}

void
Reply::send( Stream stream ) const {
   answer( state_->answerer, state_->isAnswered, std::move( stream ) );
}

void
Reply::goneIs( std::function< void() > gone ) const {
   if ( auto const answerer = state_->answerer.lock() ) {
      answerer->goneIs( std::move( gone ) );
   }
}

void
Reply::wake() const {
   if ( auto const answerer = state_->answerer.lock() ) {
      answerer->wake();
   }
}

} // namespace ostra::http
