// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// boost::intrusive_ptr with both of its counters.

#include <ptr/PtrBench>

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

namespace {

template< class Counter >
class Object final : public boost::intrusive_ref_counter< Object< Counter >, Counter > {};

template< class Counter >
struct Make {
   boost::intrusive_ptr< Object< Counter > > operator()() const {
      return boost::intrusive_ptr< Object< Counter > >( new Object< Counter > );
   }
};

bool const measured = bench::measuredCopy< Make< boost::thread_safe_counter > >(
                         "copy/boost::intrusive_ptr atomic" ) &&
   bench::measuredCopy< Make< boost::thread_unsafe_counter > >(
                         "copy/boost::intrusive_ptr plain" );

} // namespace
