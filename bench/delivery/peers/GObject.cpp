// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// GLib: a property of a GObject and the handlers of its notify signal.

#include <delivery/Delivery>

#include <glib-object.h>

#include <deque>
#include <memory>

namespace {

struct Cell {
   GObject parent;
   int value;
};

GParamSpec* valueProperty = nullptr;

void
setProperty( GObject* object, guint, GValue const* value, GParamSpec* ) {
   reinterpret_cast< Cell* >( object )->value = g_value_get_int( value );
}

void
getProperty( GObject* object, guint, GValue* value, GParamSpec* ) {
   g_value_set_int( value, reinterpret_cast< Cell* >( object )->value );
}

void
initClass( gpointer type, gpointer ) {
   auto* const objectClass = static_cast< GObjectClass* >( type );
   objectClass->set_property = setProperty;
   objectClass->get_property = getProperty;
   auto const flags = static_cast< GParamFlags >(
      G_PARAM_READWRITE | G_PARAM_EXPLICIT_NOTIFY | G_PARAM_STATIC_STRINGS );
   valueProperty =
      g_param_spec_int( "value", "value", "value", G_MININT, G_MAXINT, 0, flags );
   g_object_class_install_property( objectClass, 1, valueProperty );
}

GType
cellType() {
   static GType const type = g_type_register_static_simple(
      G_TYPE_OBJECT,
      "BenchCell",
      sizeof( GObjectClass ),
      initClass,
      sizeof( Cell ),
      nullptr,
      G_TYPE_FLAG_NONE );
   return type;
}

void
onNotify( GObject*, GParamSpec*, gpointer heard ) {
   ++*static_cast< unsigned* >( heard );
}

class Subject {
 public:
   explicit Subject( std::size_t listeners ) : heard_( listeners ) {
      for ( unsigned& heard : heard_ ) {
         watch( heard );
      }
   }
   void set( int value ) {
      if ( cell_->value != value ) {
         cell_->value = value;
         g_object_notify_by_pspec( &cell_->parent, valueProperty );
      }
   }
   unsigned heard() const { return heard_.front(); }
   void connect() { another_ = watch( heardByAnother_ ); }
   void disconnect() { g_signal_handler_disconnect( cell_.get(), another_ ); }

 private:
   struct Unref {
      void operator()( Cell* cell ) const { g_object_unref( cell ); }
   };

   gulong watch( unsigned& heard ) {
      return g_signal_connect(
         cell_.get(), "notify::value", G_CALLBACK( onNotify ), &heard );
   }

   std::unique_ptr< Cell, Unref > cell_{ static_cast< Cell* >(
      g_object_new( cellType(), nullptr ) ) };
   std::deque< unsigned > heard_;
   unsigned heardByAnother_ = 0;
   gulong another_ = 0;
};

bool const measured = bench::measuredSet< Subject >( "set/GLib" ) &&
   bench::measuredConnect< Subject >( "connect/GLib" );

} // namespace
