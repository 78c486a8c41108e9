// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The one thing that is promised about threads: pointers to an object may be copied and
// released on any of them, also while one of them pins and unpins it. Built with ThreadSanitizer by tests/threads/run.

#include <Ryx/Entity>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <latch>
#include <thread>
#include <vector>

namespace {

constexpr unsigned threads = 4;
constexpr unsigned copies = 20000;

std::atomic< int > gone = 0;

// Its destructor reads what another thread may have written last.
class Node final : public Ryx::Entity {
 public:
   explicit Node( Ryx::Ptr< Node > next = nullptr ) : next_( std::move( next ) ) {}
   ~Node() override { gone += written_ == 1; }

   void write() { written_ = 1; }

 private:
   unsigned written_ = 0;
   Ryx::Ptr< Node > next_;
};

void
expect( bool fulfilled, char const* what ) {
   if ( !fulfilled ) {
      std::printf( "FAILED: %s\n", what );
      std::exit( 1 );
   }
}

// All begin at once, or the first would be done before the last is there.
template< class Work >
void
onEveryThread( Work work ) {
   std::latch begin( threads );
   std::vector< std::thread > running;
   for ( unsigned i = 0; i < threads; ++i ) {
      running.emplace_back( [ &begin, work, i ] {
         begin.arrive_and_wait();
         work( i );
      } );
   }
   for ( std::thread& thread : running ) {
      thread.join();
   }
}

// Copies that come and go on all threads leave the count as it was.
void
copyAndRelease() {
   auto const node = Ryx::make< Node >();
   node->write();
   constexpr unsigned rounds = 20;
   for ( unsigned round = 0; round < rounds; ++round ) {
      onEveryThread( [ &node ]( unsigned ) {
         std::vector< Ryx::Ptr< Node > > held;
         for ( unsigned i = 0; i < copies; ++i ) {
            held.push_back( node );
            if ( i % 3 == 0 ) {
               held.clear();
            }
         }
      } );
   }
   expect( node->references() == 1, "every copy was counted and released" );
}

// The last pointer goes on whichever thread is last, once, and what the others did to the
// object happened before.
void
releaseLast() {
   gone = 0;
   constexpr int rounds = 500;
   for ( int round = 0; round < rounds; ++round ) {
      auto node = Ryx::make< Node >();
      std::vector< Ryx::Ptr< Node > > shares( threads, node );
      node = nullptr;
      onEveryThread( [ &shares ]( unsigned i ) {
         if ( i == 0 ) {
            shares[ i ]->write();
         }
         shares[ i ] = nullptr;
      } );
   }
   expect( gone == rounds, "every object went once, written" );
}

// So do objects that hold each other.
void
releaseChains() {
   gone = 0;
   constexpr int length = 200;
   Ryx::Ptr< Node > chain;
   std::vector< Ryx::Ptr< Node > > nodes;
   for ( int i = 0; i < length; ++i ) {
      chain = Ryx::make< Node >( chain );
      chain->write();
      nodes.push_back( chain );
   }
   chain = nullptr;
   onEveryThread( [ &nodes ]( unsigned i ) {
      for ( std::size_t at = i; at < nodes.size(); at += threads ) {
         nodes[ at ] = nullptr;
      }
   } );
   expect( gone == length, "every object of the chain went once" );
}

// One thread pins and unpins while the others copy and release.
void
pinMeanwhile() {
   auto const node = Ryx::make< Node >();
   constexpr unsigned rounds = 2000;
   onEveryThread( [ &node ]( unsigned i ) {
      std::vector< Ryx::Ptr< Node > > held;
      for ( unsigned round = 0; round < rounds; ++round ) {
         if ( i == 0 ) {
            node->isNondestructingIs( round % 2 == 0 );
         } else {
            held.push_back( node );
            if ( round % 3 == 0 ) {
               held.clear();
            }
         }
      }
   } );
   expect( node->references() == 1, "every copy was counted, pinned or not" );
}

} // namespace

int
main() {
   // What was counted while there was one thread goes on being counted when there are more.
   auto const before = Ryx::make< Node >();
   auto const copy = before;
   expect( Ryx::singleThreaded(), "the process begins with one thread" );
   copyAndRelease();
   expect( !Ryx::singleThreaded(), "the process has had several threads" );
   releaseLast();
   releaseChains();
   pinMeanwhile();
   expect( before->references() == 2, "what one thread counted stands" );
   std::puts( "pointers were released elsewhere" );
   return 0;
}
