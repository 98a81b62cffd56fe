-- another row
select path from (select path,size,date from undisturbed_row except select path,size,date from now_row);
-- a row too many
select path from (select path from now_row except select path from undisturbed_row);
-- another record
select path from (select id,path from now_song except select id,path from undisturbed_song);
