// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/base/ParsedJson>

#include <utility>
#include <vector>

namespace ostra {

namespace {

class JsonBuilder final : public nlohmann::json_sax< Json > {
 public:
   Json take() { return std::move( root_ ); }

   bool null() override { return add( nullptr ); }
   bool boolean( bool value ) override { return add( value ); }
   bool number_integer( number_integer_t value ) override { return add( value ); }
   bool number_unsigned( number_unsigned_t value ) override { return add( value ); }
   bool number_float( number_float_t value, string_t const& ) override {
      return add( value );
   }
   bool string( string_t& value ) override { return add( std::move( value ) ); }
   bool binary( binary_t& value ) override { return add( std::move( value ) ); }
   bool start_object( std::size_t ) override { return open( Json::object() ); }
   bool key( string_t& value ) override {
      key_ = std::move( value );
      return true;
   }
   bool end_object() override { return close(); }
   bool start_array( std::size_t ) override { return open( Json::array() ); }
   bool end_array() override { return close(); }
   bool parse_error( std::size_t, std::string const&, Json::exception const& ) override {
      return false;
   }

 private:
   bool add( Json value ) {
      put( std::move( value ) );
      return true;
   }
   bool open( Json value ) {
      open_.push_back( &put( std::move( value ) ) );
      return true;
   }
   bool close() {
      open_.pop_back();
      return true;
   }
   Json& put( Json value ) {
      if ( open_.empty() ) {
         return root_ = std::move( value );
      }
      if ( open_.back()->is_array() ) {
         return open_.back()->emplace_back( std::move( value ) );
      }
      auto& members = open_.back()->get_ref< Json::object_t& >();
      return members.emplace_back( std::move( key_ ), std::move( value ) ).second;
   }

   Json root_;
   // From the outermost to the innermost: nothing is put into one that is not the last.
   std::vector< Json* > open_;
   std::string key_;
};

} // namespace

Json
parsedJson( std::string const& text ) {
   JsonBuilder builder;
   return Json::sax_parse( text, &builder ) ? builder.take()
                                            : Json( Json::value_t::discarded );
}

} // namespace ostra
