-- told that it is renamed
select path from old_row o left join now_row n using (path) where n.ObjID is not o.ObjID;
-- told that it is renamed
select path from old_folder_row o left join now_folder_row n using (path) where n.ObjID is not o.ObjID;
