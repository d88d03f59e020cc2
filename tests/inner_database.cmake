# The inner side of the application database.
nuv_add_database_test(nuv_db_connection_test)
target_link_options(nuv_db_connection_test PRIVATE LINKER:--wrap=calloc)
nuv_add_database_test(nuv_inner_statement_test)
