-- another identifier
select path from old_row o join now_row n using (path,tbl) where n.ObjID is not o.ObjID or n.No is not o.No;
-- another identifier
select path from old_folder_row o join now_folder_row n using (path) where n.ObjID is not o.ObjID;
