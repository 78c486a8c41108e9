// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/state/Watcher>

#include <utility>

namespace ostra {

Watcher::Watcher(
   GenericPtr object,
   std::vector< std::string > path,
   Watched watched,
   WriteReport const& report )
      : object_( std::move( object ) ),
        path_( std::move( path ) ),
        watched_( watched ),
        report_( report ) {
   notifierIs( Ryx::Ptr< Ryx::PtrInterface const >( object_->object() ) );
   isRegisteredNotifieeIs( true );
   if ( watched_ == Watched::deep ) {
      watchMembers();
   }
}

void
Watcher::watchMembers() {
   for ( RyxAttr const* attribute : settableAttributes( *object_->type() ) ) {
      if ( !isCollection( *attribute ) || !hasObjects( *attribute ) ) {
         continue;
      }
      for ( auto it = object_->attributeIterator( attribute->id() ); it->nonNull();
            it->iterInc() ) {
         watchMember( attribute->name().string(), it->iterKey()->strRep(), it->iterObj() );
      }
   }
}

void
Watcher::watchMember(
   std::string const& attribute, std::string const& key, GenericPtr const& member ) {
   Ryx::Ptr< Watcher >& watcher = members_[ attribute + '/' + key ];
   if ( watcher ) {
      watcher->stop();
   }
   watcher = nullptr;
   if ( member && member->object() ) {
      auto path = path_;
      path.insert( path.end(), { attribute, key } );
      watcher =
         Ryx::make< Watcher >( member, std::move( path ), Watched::shallow, report_ );
   }
}

void
Watcher::onAttribute( Ryx::AttributeId id ) {
   RyxAttr const* const attribute = object_->type()->attr( id );
   if ( attribute && isSettable( *attribute ) ) {
      report(
         { attribute->name().string() },
         valueToJson( *attribute, read( *object_, *attribute ) ) );
   }
}

void
Watcher::onCollectionNotification( Ryx::String8 member ) {
   // A key may have slashes of its own.
   std::size_t const slash = member.find( '/' );
   std::string const name = member.substr( 0, slash );
   RyxAttr const* const attribute = settableAttribute( *object_->type(), name );
   if ( !attribute ) {
      return;
   }
   std::string const key = member.substr( slash + 1 );
   GenericPtr const value = readMember( *object_, *attribute, keyOf( *attribute, key ) );
   report( { name, key }, valueToJson( *attribute, value ) );
   if ( watched_ == Watched::deep ) {
      watchMember( name, key, value );
   }
}

void
Watcher::report( std::vector< std::string > rest, Json value ) const {
   WriteRecord record{ path_, std::move( value ) };
   record.path.insert( record.path.end(), rest.begin(), rest.end() );
   report_( record );
}

void
Watcher::stop() {
   isRegisteredNotifieeIs( false );
   for ( auto const& [ key, member ] : members_ ) {
      if ( member ) {
         member->stop();
      }
   }
   members_.clear();
}

MountsWatch::MountsWatch( Mounts const& mounts, WriteReport report )
      : report_( std::move( report ) ) {
   for ( std::size_t i = 0; i < mountKinds.size(); ++i ) {
      if ( mountKinds[ i ].watched != Watched::nothing ) {
         watchers_.push_back( Ryx::make< Watcher >(
            mounts.object( i ),
            std::vector< std::string >{ std::string( mountKinds[ i ].name ) },
            mountKinds[ i ].watched,
            report_ ) );
      }
   }
}

MountsWatch::~MountsWatch() {
   for ( auto const& watcher : watchers_ ) {
      watcher->stop();
   }
}

} // namespace ostra
