// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/serve/Database>

#include <sqlite3.h>

namespace ostra {

DatabaseError::DatabaseError( int code, std::string const& text )
      : std::runtime_error( text ), code_( code ) {}

bool
DatabaseError::isDamage() const noexcept {
   int const primary = code_ & 0xff;
   return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB ||
      primary == SQLITE_SCHEMA || code_ == SQLITE_IOERR_SHORT_READ;
}

bool
DatabaseError::isBusy() const noexcept {
   int const primary = code_ & 0xff;
   return primary == SQLITE_BUSY || primary == SQLITE_LOCKED;
}

void
Database::Deleter::operator()( sqlite3* database ) const noexcept {
   sqlite3_close_v2( database );
}

Database::Database( std::string const& path, Milliseconds wait ) {
   sqlite3* database = nullptr;
   int const code = sqlite3_open_v2(
      path.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr );
   database_.reset( database );
   if ( code != SQLITE_OK ) {
      fail( code );
   }
   sqlite3_extended_result_codes( database, 1 );
   sqlite3_busy_timeout( database, static_cast< int >( wait.count() ) );
}

void
Database::fail( int code ) const {
   throw DatabaseError(
      code, database_ ? sqlite3_errmsg( database_.get() ) : sqlite3_errstr( code ) );
}

void
Database::keepsLogIs( bool keepsLog ) {
   sqlite3_db_config(
      database_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, keepsLog ? 1 : 0, nullptr );
}

void
Database::run( std::string const& sql ) {
   int const code = sqlite3_exec( database_.get(), sql.c_str(), nullptr, nullptr, nullptr );
   if ( code != SQLITE_OK ) {
      fail( code );
   }
}

std::string
Database::textOf( std::string const& query ) {
   Statement statement( *this, query );
   return statement.next() ? statement.text( 0 ) : std::string();
}

std::int64_t
Database::numberOf( std::string const& query ) {
   Statement statement( *this, query );
   return statement.next() ? statement.number( 0 ) : 0;
}

std::int64_t
Database::changes() const noexcept {
   return sqlite3_changes( database_.get() );
}

void
Database::Statement::Deleter::operator()( sqlite3_stmt* statement ) const noexcept {
   sqlite3_finalize( statement );
}

Database::Statement::Statement( Database& database, std::string_view sql )
      : database_( database ) {
   sqlite3_stmt* statement = nullptr;
   int const code = sqlite3_prepare_v3(
      database_.database_.get(),
      sql.data(),
      static_cast< int >( sql.size() ),
      SQLITE_PREPARE_PERSISTENT,
      &statement,
      nullptr );
   statement_.reset( statement );
   if ( code != SQLITE_OK ) {
      database_.fail( code );
   }
}

void
Database::Statement::reset() noexcept {
   sqlite3_reset( statement_.get() );
}

void
Database::Statement::bind( int place, std::string_view text ) {
   sqlite3_bind_text64(
      statement_.get(), place, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8 );
}

void
Database::Statement::bind( int place, std::int64_t number ) {
   sqlite3_bind_int64( statement_.get(), place, number );
}

bool
Database::Statement::next() {
   int const code = sqlite3_step( statement_.get() );
   if ( code != SQLITE_ROW && code != SQLITE_DONE ) {
      reset();
      database_.fail( code );
   }
   return code == SQLITE_ROW;
}

void
Database::Statement::run() {
   while ( next() ) {}
   reset();
}

std::string
Database::Statement::text( int column ) const {
   auto const* const text =
      reinterpret_cast< char const* >( sqlite3_column_text( statement_.get(), column ) );
   auto const size = sqlite3_column_bytes( statement_.get(), column );
   return text ? std::string( text, static_cast< std::size_t >( size ) ) : std::string();
}

bool
Database::Statement::isNull( int column ) const {
   return sqlite3_column_type( statement_.get(), column ) == SQLITE_NULL;
}

std::int64_t
Database::Statement::number( int column ) const {
   return sqlite3_column_int64( statement_.get(), column );
}

} // namespace ostra
