#pragma once

// The operator's view of the stored records. No item of the console tester's main menu leads here;
// the workbench's menu does.

/// Offers the actions below until the operator leaves.
void record_menu();

/// Lists the heads of all records in a chosen order.
void list_records();

/// Shows one record as text.
void read_record();

/// Deletes one record without asking.
void delete_record();

/// Deletes all records if the operator confirms.
void clear_database();
