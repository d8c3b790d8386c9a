# The stores, the ports and the services.
find_package(SQLiteCpp REQUIRED)
target_sources(mailvane_service PRIVATE
    account_data.cpp
    account_databases.cpp
    account_record.cpp
    database.cpp
    durable_move.cpp
    listening_ports.cpp
    service_control.cpp
    web_utils.cpp)
target_link_libraries(mailvane_service PRIVATE SQLiteCpp)
