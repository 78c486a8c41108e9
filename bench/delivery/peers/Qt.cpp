// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Qt: a signal and the slots of objects, connected directly.

#include <delivery/Delivery>

#include <QObject>

#include <memory>
#include <vector>

namespace {

class Cell final : public QObject {
   Q_OBJECT

 public:
   void set( int value ) {
      if ( value_ != value ) {
         value_ = value;
         emit changed( value );
      }
   }

 signals:
   void changed( int value );

 private:
   int value_ = 0;
};

class Listener final : public QObject {
   Q_OBJECT

 public:
   void onChanged( int ) { ++heard; }

   unsigned heard = 0;
};

class Subject {
 public:
   explicit Subject( std::size_t listeners ) {
      while ( listeners_.size() < listeners ) {
         listeners_.push_back( std::make_unique< Listener >() );
         watch( *listeners_.back() );
      }
   }
   void set( int value ) { cell_.set( value ); }
   unsigned heard() const { return listeners_.front()->heard; }
   void connect() { connection_ = watch( another_ ); }
   void disconnect() { QObject::disconnect( connection_ ); }

 private:
   QMetaObject::Connection watch( Listener& listener ) {
      return QObject::connect(
         &cell_, &Cell::changed, &listener, &Listener::onChanged, Qt::DirectConnection );
   }

   Cell cell_;
   std::vector< std::unique_ptr< Listener > > listeners_;
   Listener another_;
   QMetaObject::Connection connection_;
};

bool const measured = bench::measuredSet< Subject >( "set/Qt" ) &&
   bench::measuredConnect< Subject >( "connect/Qt" );

} // namespace

#include "Qt.moc"
